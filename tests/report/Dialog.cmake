# Tests of the report dialogs, in gui_tests.
