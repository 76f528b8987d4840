# Tests of the options dialogs, in gui_tests.
target_sources(gui_tests PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/CategoriesOptionsTab_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/OptionsDlg_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/OptionsTestSupport.cpp
)
