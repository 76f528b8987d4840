# The manual pages and the bash completion (written by the docs helper).
