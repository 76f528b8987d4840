# The options dialogs of the window, in shelfwise_gui.
target_sources(shelfwise_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/BackupOptionsTab.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CategoriesOptionsTab.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DuplicatesOptionsTab.cpp
  ${CMAKE_CURRENT_LIST_DIR}/GeneralOptionsTab.cpp
  ${CMAKE_CURRENT_LIST_DIR}/OptionsDlg.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PathDlg.cpp
)
