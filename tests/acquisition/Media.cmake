# Tests of the media readers, in core_tests.
target_sources(core_tests PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/MediaAccess_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaDetails_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaJudges.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaFile_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaGaps_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SvgRootSize_test.cpp
)
