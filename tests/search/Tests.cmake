# Tests of the search dialogs, in gui_tests.
