# The report dialogs of the window, in shelfwise_gui.
target_sources(shelfwise_gui PRIVATE ${CMAKE_CURRENT_LIST_DIR}/ReportDialog.cpp)
