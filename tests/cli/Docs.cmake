# Tests of the manual pages and the bash completion, against what the built program prints,
# and of their templates (where they are made: not on Windows).
if(NOT TARGET cli_docs)
  return()
endif()
target_sources(core_tests PRIVATE
  BashCompletion_test.cpp
  DocTemplate_test.cpp
  ManPage_test.cpp)
target_compile_definitions(core_tests PRIVATE
  SHELFWISE_CLI_MAN_PAGE="$<TARGET_PROPERTY:cli_docs,SHELFWISE_CLI_MAN_PAGE>"
  SHELFWISE_DESKTOP_MAN_PAGE="$<TARGET_PROPERTY:cli_docs,SHELFWISE_DESKTOP_MAN_PAGE>"
  SHELFWISE_BASH_COMPLETION="$<TARGET_PROPERTY:cli_docs,SHELFWISE_BASH_COMPLETION>"
  SHELFWISE_DOCS_TEMPLATE_DIR="$<TARGET_PROPERTY:cli_docs,SHELFWISE_DOCS_TEMPLATE_DIR>"
  SHELFWISE_DOCS_TEMPLATES="$<JOIN:$<TARGET_PROPERTY:cli_docs,SHELFWISE_DOCS_TEMPLATE_NAMES>,|>"
  SHELFWISE_MKDOCS="$<TARGET_FILE:shelfwise-mkdocs>")
add_dependencies(core_tests cli_docs)
