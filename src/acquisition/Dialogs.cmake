# The acquisition dialogs of the window, in shelfwise_gui.
