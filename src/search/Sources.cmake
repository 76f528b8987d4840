# The search dialogs of the window, in shelfwise_gui.
target_sources(shelfwise_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/AdvancedSearchTab.cpp
  ${CMAKE_CURRENT_LIST_DIR}/BasicSearchTab.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ContextListCtrl.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ResultsCtrl.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ResultsModel.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SearchDlg.cpp
)
