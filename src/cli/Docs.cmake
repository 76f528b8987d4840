# The manual pages and the bash completion of shelfwise-cli.
#
# shelfwise-mkdocs writes them at build time from the command table that --help prints
# and the templates of src/mkdocs/templates (the script around the completion's data, the
# pages' prose), into the build tree's share/ folder, laid out as they are installed:
# share/man/man1/shelfwise-cli.1, share/man/man1/Shelfwise.1 and
# share/bash-completion/completions/shelfwise-cli.

# Windows has neither man nor bash, and the tool, which links Qt, would need Qt's DLLs
# on PATH to run during the build: there is nothing more to make there.
if(WIN32)
  return()
endif()

add_executable(shelfwise-mkdocs ${CMAKE_CURRENT_LIST_DIR}/../mkdocs/main.cpp)
target_link_libraries(shelfwise-mkdocs PRIVATE shelfwise_cli)

# The templates, read when the files are written: a changed one writes them again.
set(SHELFWISE_DOCS_TEMPLATE_DIR ${CMAKE_CURRENT_LIST_DIR}/../mkdocs/templates)
cmake_path(NORMAL_PATH SHELFWISE_DOCS_TEMPLATE_DIR)
set(SHELFWISE_DOCS_TEMPLATE_NAMES
  shelfwise-cli.1.in Shelfwise.1.in environment.man.in files.man.in recent-files.man.in
  shelfwise-cli.bash.in)
list(TRANSFORM SHELFWISE_DOCS_TEMPLATE_NAMES PREPEND ${SHELFWISE_DOCS_TEMPLATE_DIR}/
  OUTPUT_VARIABLE SHELFWISE_DOCS_TEMPLATES)

set(SHELFWISE_DOCS_DIR ${CMAKE_BINARY_DIR}/share)
set(SHELFWISE_CLI_MAN_PAGE ${SHELFWISE_DOCS_DIR}/man/man1/shelfwise-cli.1)
set(SHELFWISE_DESKTOP_MAN_PAGE ${SHELFWISE_DOCS_DIR}/man/man1/Shelfwise.1)
set(SHELFWISE_BASH_COMPLETION ${SHELFWISE_DOCS_DIR}/bash-completion/completions/shelfwise-cli)
# The date goes through a file that changes only with it, so that a new date writes the
# pages again with any generator.
set(SHELFWISE_DOCS_DATE_FILE ${CMAKE_CURRENT_BINARY_DIR}/docs-release-date.txt)
file(CONFIGURE OUTPUT ${SHELFWISE_DOCS_DATE_FILE} CONTENT "${SHELFWISE_RELEASE_DATE}\n")

add_custom_command(
  OUTPUT ${SHELFWISE_CLI_MAN_PAGE} ${SHELFWISE_DESKTOP_MAN_PAGE} ${SHELFWISE_BASH_COMPLETION}
  COMMAND shelfwise-mkdocs ${SHELFWISE_DOCS_TEMPLATE_DIR} ${SHELFWISE_DOCS_DIR}
          ${SHELFWISE_RELEASE_DATE}
  DEPENDS shelfwise-mkdocs ${SHELFWISE_DOCS_DATE_FILE} ${SHELFWISE_DOCS_TEMPLATES}
  COMMENT "Writing the manual pages and the bash completion of shelfwise-cli"
  VERBATIM)

set(SHELFWISE_DOCS_OUTPUTS
  ${SHELFWISE_CLI_MAN_PAGE} ${SHELFWISE_DESKTOP_MAN_PAGE} ${SHELFWISE_BASH_COMPLETION})

# Installed man pages are compressed. gzip -n leaves out the name and time of the file,
# so the archives too are the same on every build.
if(UNIX AND NOT APPLE)
  find_program(SHELFWISE_GZIP gzip)
  set(SHELFWISE_INSTALLED_MAN_PAGES ${SHELFWISE_CLI_MAN_PAGE} ${SHELFWISE_DESKTOP_MAN_PAGE})
  if(SHELFWISE_GZIP)
    set(SHELFWISE_INSTALLED_MAN_PAGES)
    set(_man_gz_dir ${CMAKE_CURRENT_BINARY_DIR}/man-gz)
    foreach(_page IN ITEMS ${SHELFWISE_CLI_MAN_PAGE} ${SHELFWISE_DESKTOP_MAN_PAGE})
      get_filename_component(_name ${_page} NAME)
      add_custom_command(
        OUTPUT ${_man_gz_dir}/${_name}.gz
        COMMAND ${CMAKE_COMMAND} -E make_directory ${_man_gz_dir}
        COMMAND ${CMAKE_COMMAND} -E copy ${_page} ${_man_gz_dir}/${_name}
        COMMAND ${SHELFWISE_GZIP} -9nf ${_man_gz_dir}/${_name}
        DEPENDS ${_page}
        COMMENT "Compressing the manual page ${_name}"
        VERBATIM)
      list(APPEND SHELFWISE_INSTALLED_MAN_PAGES ${_man_gz_dir}/${_name}.gz)
    endforeach()
    list(APPEND SHELFWISE_DOCS_OUTPUTS ${SHELFWISE_INSTALLED_MAN_PAGES})
  endif()
  install(FILES ${SHELFWISE_INSTALLED_MAN_PAGES} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

  # Where the bash-completion package looks for completions, below the prefix it was
  # installed in; its own default when the package is not there.
  set(SHELFWISE_BASH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  find_package(PkgConfig QUIET)
  if(PKG_CONFIG_FOUND)
    pkg_get_variable(_completions_dir bash-completion completionsdir)
    pkg_get_variable(_completions_prefix bash-completion prefix)
    if(_completions_dir AND _completions_prefix)
      file(RELATIVE_PATH _relative ${_completions_prefix} ${_completions_dir})
      if(NOT _relative MATCHES "^\\.\\.")
        set(SHELFWISE_BASH_COMPLETION_DIR ${_relative})
      endif()
    endif()
  endif()
  install(FILES ${SHELFWISE_BASH_COMPLETION} DESTINATION ${SHELFWISE_BASH_COMPLETION_DIR})
endif()

add_custom_target(cli_docs ALL DEPENDS ${SHELFWISE_DOCS_OUTPUTS})
# Where the tests find what was written, and the templates.
set_target_properties(cli_docs PROPERTIES
  SHELFWISE_DOCS_TEMPLATE_DIR ${SHELFWISE_DOCS_TEMPLATE_DIR}
  SHELFWISE_DOCS_TEMPLATE_NAMES "${SHELFWISE_DOCS_TEMPLATE_NAMES}"
  SHELFWISE_CLI_MAN_PAGE ${SHELFWISE_CLI_MAN_PAGE}
  SHELFWISE_DESKTOP_MAN_PAGE ${SHELFWISE_DESKTOP_MAN_PAGE}
  SHELFWISE_BASH_COMPLETION ${SHELFWISE_BASH_COMPLETION})
