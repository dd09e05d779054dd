# Included after project(): shows the package what a CMake before 3.23 sees of it, which knows no file sets.
set(CMAKE_VERSION 3.22.0)
