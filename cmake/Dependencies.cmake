# Third-party libraries, all from Debian packages (scripts/install-deps.sh).
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
# libdeflate: the fastest whole-buffer DEFLATE, for packages and the PNG files kvs writes.
pkg_check_modules(LIBDEFLATE REQUIRED IMPORTED_TARGET libdeflate)
find_package(Boost 1.74 REQUIRED COMPONENTS thread system)

# Debian's tinyxml.h defines TIXML_USE_STL itself; define it everywhere too so
# that every translation unit sees the same class layout.
pkg_check_modules(TINYXML REQUIRED IMPORTED_TARGET tinyxml)
add_library(kv_tinyxml INTERFACE)
target_link_libraries(kv_tinyxml INTERFACE PkgConfig::TINYXML)
target_compile_definitions(kv_tinyxml INTERFACE TIXML_USE_STL)

# Highway: SIMD kernels written once, dispatched at run time to the CPU's best
# target. Its headers only: engine/nodes/SimdRuntime.cpp tells dispatch which
# targets the CPU runs, in place of Highway's shared library.
pkg_check_modules(HWY REQUIRED libhwy)
add_library(kv_highway INTERFACE)
target_include_directories(kv_highway SYSTEM INTERFACE ${HWY_INCLUDE_DIRS})
find_package(PNG REQUIRED)
find_package(nlohmann_json 3 REQUIRED)
find_package(OpenEXR 3 CONFIG REQUIRED)

if(KV_BUILD_TESTS)
    find_package(GTest REQUIRED)
    # Tests build archives with libzip too, so that the reader meets another writer's ZIP files.
    pkg_check_modules(LIBZIP REQUIRED IMPORTED_TARGET libzip)
endif()
if(KV_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
