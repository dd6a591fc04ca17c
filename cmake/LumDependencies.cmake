# Finds the Debian packages the libraries build on and wraps them in targets.

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

find_package(Boost 1.74 REQUIRED COMPONENTS thread chrono date_time timer system filesystem)

# log4cplus's packaged CMake config names x86-64 static libraries; its
# pkg-config file works natively and for the cross build alike.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LOG4CPLUS REQUIRED IMPORTED_TARGET log4cplus)
if(NOT TARGET Lum::log4cplus)
  add_library(Lum::log4cplus INTERFACE IMPORTED)
  target_link_libraries(Lum::log4cplus INTERFACE PkgConfig::LOG4CPLUS)
endif()

find_path(LUM_RAPIDXML_INCLUDE_DIR rapidxml/rapidxml.hpp REQUIRED)
if(NOT TARGET Lum::rapidxml)
  add_library(Lum::rapidxml INTERFACE IMPORTED)
  target_include_directories(Lum::rapidxml SYSTEM INTERFACE "${LUM_RAPIDXML_INCLUDE_DIR}")
endif()

# utfcpp is header-only; its CMake version file is wrong, so find the header.
find_path(LUM_UTFCPP_INCLUDE_DIR utf8cpp/utf8.h REQUIRED)
if(NOT TARGET Lum::utfcpp)
  add_library(Lum::utfcpp INTERFACE IMPORTED)
  target_include_directories(Lum::utfcpp SYSTEM INTERFACE "${LUM_UTFCPP_INCLUDE_DIR}")
endif()
