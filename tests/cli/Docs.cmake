# Tests of the manual pages and the bash completion.
