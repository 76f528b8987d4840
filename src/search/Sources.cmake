# The search dialogs of the window, in shelfwise_gui.
