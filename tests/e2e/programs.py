# SPDX-License-Identifier: MIT

# In front of a command: it heeds the signals that end it. Under nohup, or in the background of a script, these tests ignore
# some of them, and an ignored signal is inherited.
HEEDING_SIGNALS = ("env", "--default-signal=HUP,INT,QUIT,TERM")
