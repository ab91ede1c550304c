# SPDX-License-Identifier: MIT

# A prefix for a command that restores the default action of the signals that end it. Under nohup, or in the background of a
# script, the tests themselves ignore some of these signals, and the command would inherit that.
HEEDING_SIGNALS = ("env", "--default-signal=HUP,INT,QUIT,TERM")
