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

# The lumknx plan readers (project archives, XML and CSV exports) and its
# command line (CLI11). libzip and pugixml ship pkg-config files; libcsv ships
# none. Only the tool needs them, so a library-only build does not.
if(LUM_BUILD_TOOLS)
  pkg_check_modules(LIBZIP REQUIRED IMPORTED_TARGET libzip)
  pkg_check_modules(PUGIXML REQUIRED IMPORTED_TARGET pugixml)
  find_path(LUM_LIBCSV_INCLUDE_DIR csv.h REQUIRED)
  # Header-only, found by its header as rapidxml is.
  find_path(LUM_CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
  find_library(LUM_LIBCSV_LIBRARY csv REQUIRED)
  if(NOT TARGET Lum::libzip)
    add_library(Lum::libzip INTERFACE IMPORTED)
    target_link_libraries(Lum::libzip INTERFACE PkgConfig::LIBZIP)
    add_library(Lum::pugixml INTERFACE IMPORTED)
    target_link_libraries(Lum::pugixml INTERFACE PkgConfig::PUGIXML)
    add_library(Lum::CLI11 INTERFACE IMPORTED)
    target_include_directories(Lum::CLI11 SYSTEM INTERFACE "${LUM_CLI11_INCLUDE_DIR}")
    add_library(Lum::libcsv INTERFACE IMPORTED)
    target_include_directories(Lum::libcsv SYSTEM INTERFACE "${LUM_LIBCSV_INCLUDE_DIR}")
    target_link_libraries(Lum::libcsv INTERFACE "${LUM_LIBCSV_LIBRARY}")
  endif()
endif()
