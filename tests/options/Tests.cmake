# Tests of the options dialogs, in gui_tests.
