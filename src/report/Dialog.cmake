# The report dialogs of the window, in shelfwise_gui.
