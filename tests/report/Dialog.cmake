# Tests of the report dialogs, in gui_tests.
target_sources(gui_tests PRIVATE ${CMAKE_CURRENT_LIST_DIR}/ReportDialog_test.cpp)
