# Tests of the media readers, in core_tests.
target_sources(core_tests PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/MediaDetails_test.cpp
)
