# Installs the libraries, their public headers, a CMake package config and a
# pkg-config file, so that a host builds with either
#   find_package(kvsubstance) + target_link_libraries(app kvsubstance::kvsubstance)
# or
#   c++ host.cpp $(pkg-config --cflags --libs kvsubstance)
include(CMakePackageConfigHelpers)
