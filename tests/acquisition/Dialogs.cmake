# Tests of the acquisition dialogs, in gui_tests.
