# Installs the build tree into a fresh prefix, runs the installed tool, builds
# the README's host program once through pkg-config and once through
# find_package, and runs both on the sample packages: each must write the
# stacked material's texture and get it back byte for byte from its state
# string.
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DHOST_DIR=... -DBASE=... -DEFFECT=... -DDESCRIPTION=... -DCXX=...
#         [-DSANITIZE=address,undefined] -P InstallTest.cmake
foreach(var BUILD_DIR WORK_DIR HOST_DIR BASE EFFECT DESCRIPTION CXX)
    if(NOT DEFINED ${var})
        message(FATAL_ERROR "InstallTest.cmake needs -D${var}=...")
    endif()
endforeach()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "failed (${status}): ${ARGN}\n${out}\n${err}")
    endif()
    set(run_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_host_output program)
    set(png ${program}.png)
    run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/lib ${program} ${BASE} ${EFFECT} ${png} wear=0.8)
    if(NOT run_output MATCHES "512 x 512, written to" OR NOT run_output MATCHES "\n[0-9]+d f1 0.800000\n"
       OR NOT run_output MATCHES "texture identical\n$")
        message(FATAL_ERROR "${program} printed:\n${run_output}")
    endif()
    file(SIZE ${png} png_size)
    if(png_size LESS 1000)
        message(FATAL_ERROR "${png} is only ${png_size} bytes")
    endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The installed tool finds the installed libraries by itself.
run(${prefix}/bin/kvs info ${DESCRIPTION})
if(NOT run_output MATCHES "package pkg://painted_plaster\n  inputs 13\n")
    message(FATAL_ERROR "installed kvs info printed:\n${run_output}")
endif()

# The advanced interface is installed beside the model's.
foreach(header bridge/SubstanceBridge.h framework/render/RenderQueue.h framework/render/PackageStackDesc.h
               framework/description/PackageDesc.h)
    if(NOT EXISTS ${prefix}/include/kvsubstance/${header})
        message(FATAL_ERROR "${header} is not installed")
    endif()
endforeach()
file(GLOB_RECURSE internal_headers ${prefix}/include/kvsubstance/*/internal/*)
if(internal_headers)
    message(FATAL_ERROR "internal headers installed: ${internal_headers}")
endif()

set(sanitize_flags "")
if(SANITIZE)
    set(sanitize_flags -fsanitize=${SANITIZE})
endif()

# pkg-config
file(GLOB_RECURSE pc_files ${prefix}/*/kvsubstance.pc)
list(LENGTH pc_files pc_count)
if(NOT pc_count EQUAL 1)
    message(FATAL_ERROR "expected one installed kvsubstance.pc, found: ${pc_files}")
endif()
get_filename_component(pc_dir ${pc_files} DIRECTORY)
run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir} pkg-config --cflags --libs kvsubstance libpng)
separate_arguments(pc_flags UNIX_COMMAND "${run_output}")
run(${CXX} -std=c++17 ${sanitize_flags} ${HOST_DIR}/host.cpp ${pc_flags} -o ${WORK_DIR}/host_pkgconfig)
expect_host_output(${WORK_DIR}/host_pkgconfig)

# find_package
string(REPLACE ";" " " sanitize_string "${sanitize_flags}")
run(${CMAKE_COMMAND} -S ${HOST_DIR} -B ${WORK_DIR}/host_build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${sanitize_string}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/host_build)
expect_host_output(${WORK_DIR}/host_build/host)
