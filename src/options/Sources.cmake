# The options dialogs of the window, in shelfwise_gui.
