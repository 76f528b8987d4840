# Tests of the search dialogs, in gui_tests.
target_sources(gui_tests PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ResultsCtrl_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SearchDlg_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SearchTestSupport.cpp
)
