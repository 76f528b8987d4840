# Loaded by scripts/windows-check (as CMAKE_PROJECT_INCLUDE) into a configure for Windows
# with MinGW-w64 over the Linux Qt and libraries. The tree is never built: its compile
# commands, which check syntax only, are run one by one.

set(CMAKE_CXX_COMPILE_OBJECT "<CMAKE_CXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -fsyntax-only <SOURCE>")
# Plain include options, so that each command stands on its own.
set(CMAKE_CXX_USE_RESPONSE_FILE_FOR_INCLUDES OFF)

# The cross compiler must not see /usr/include: it is the Linux C library's. Only the
# libraries' own headers are offered, from a folder of links to them.
set(_shelfwise_shim ${CMAKE_BINARY_DIR}/windows-check-include)
file(REMOVE_RECURSE ${_shelfwise_shim})
file(MAKE_DIRECTORY ${_shelfwise_shim})
foreach(entry IN ITEMS MediaInfo ZenLib cdio exiv2 sqlite3.h sqlite3ext.h taglib zconf.h zlib.h)
  if(NOT EXISTS /usr/include/${entry})
    message(FATAL_ERROR "windows-check: /usr/include/${entry} is missing")
  endif()
  file(CREATE_LINK /usr/include/${entry} ${_shelfwise_shim}/${entry} SYMBOLIC)
endforeach()
# Exiv2's Linux build configuration (exv_conf.h) says there is a <regex.h>, which Windows
# lacks; its version.hpp only names the type.
file(WRITE ${_shelfwise_shim}/regex.h
  "// Stands in for the POSIX header that Exiv2's Linux configuration includes.\n"
  "#pragma once\n"
  "typedef struct { int unused; } regex_t;\n")

# At the end of the top directory, when every library has been found.
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL _shelfwise_windows_check_imports)

function(_shelfwise_windows_check_imports)
  set(directories ${CMAKE_SOURCE_DIR})
  set(imported)
  while(directories)
    list(POP_FRONT directories directory)
    get_property(targets DIRECTORY ${directory} PROPERTY IMPORTED_TARGETS)
    get_property(subdirectories DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
    list(APPEND imported ${targets})
    list(APPEND directories ${subdirectories})
  endwhile()
  foreach(target IN LISTS imported)
    foreach(property IN ITEMS INTERFACE_INCLUDE_DIRECTORIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES)
      get_target_property(directories ${target} ${property})
      if(directories)
        list(TRANSFORM directories REPLACE "^/usr/include/?$" "${_shelfwise_shim}")
        list(FILTER directories EXCLUDE REGEX "^/usr/include/${CMAKE_LIBRARY_ARCHITECTURE}/?$")
        set_target_properties(${target} PROPERTIES ${property} "${directories}")
      endif()
    endforeach()
    # A Windows link needs an import library beside each shared one, which the Linux
    # packages lack. Nothing is linked here, so each one's own file stands in for it.
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "SHARED_LIBRARY")
      continue()
    endif()
    get_target_property(configurations ${target} IMPORTED_CONFIGURATIONS)
    foreach(configuration IN LISTS configurations ITEMS "")
      set(suffix "")
      if(configuration)
        set(suffix "_${configuration}")
      endif()
      get_target_property(location ${target} IMPORTED_LOCATION${suffix})
      if(location)
        set_target_properties(${target} PROPERTIES IMPORTED_IMPLIB${suffix} "${location}")
      endif()
    endforeach()
  endforeach()
endfunction()
