# Tests of the acquisition dialogs, in gui_tests.
target_sources(gui_tests PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/AcquisitionDialogs_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AddLocationDlg_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../FakeDriveSystem.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../FakeFolderLister.cpp
)
