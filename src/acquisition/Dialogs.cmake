# The acquisition dialogs of the window, in shelfwise_gui.
target_sources(shelfwise_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/AddLocationDlg.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AddStorageDlg.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DuplicateDiscDlg.cpp
  ${CMAKE_CURRENT_LIST_DIR}/FileSystemErrorsDlg.cpp
  ${CMAKE_CURRENT_LIST_DIR}/GetDiscInformationDlg.cpp
)
