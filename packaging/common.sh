# SPDX-License-Identifier: MIT
# Sourced by all scripts: error messages, and progress of long commands.
set -Eeuo pipefail

# fail SENTENCE [STATUS]: ends with this message. FAILED_AS is the command that the user typed, if it is not this script.
failure_status=1
fail() {
    [ ! -t 2 ] || printf '\r\e[K' >&2 # removes a line of progress
    printf '%s: %s\n' "${FAILED_AS:-${0##*/}}" "$1" >&2
    exit "${2:-$failure_status}"
}

# The last resort: no script fails without a message.
say_what_failed() {
    local status=$1 line=$2 command=$3
    [ "$BASH_SUBSHELL" -gt 0 ] || fail "\"${command%%$'\n'*}\" in line $line of ${0##*/} failed with status $status"
}
trap 'say_what_failed $? $LINENO "$BASH_COMMAND"' ERR

# whole_number TEXT LEAST GREATEST: succeeds if TEXT is a whole number from LEAST to GREATEST.
whole_number() { [[ $1 =~ ^[1-9][0-9]{0,8}$ ]] && [ "$1" -ge "$2" ] && [ "$1" -le "$3" ]; }

# show_progress TEXT: updates one line on a terminal; elsewhere prints a line every ten seconds.
progress_shown=-10
show_progress() {
    if [ -t 1 ]; then
        local text=$1
        printf '\r\e[K%s' "${text:0:$((${COLUMNS:-80} - 1))}"
    elif [ $((SECONDS - progress_shown)) -ge 10 ]; then
        progress_shown=$SECONDS
        printf '%s\n' "$1"
    fi
}
# end_progress TEXT: replaces the progress by a final line.
end_progress() {
    if [ -t 1 ]; then printf '\r\e[K'; fi
    printf '%s\n' "$1"
}
elapsed() { printf '%d:%02d' $((SECONDS / 60)) $((SECONDS % 60)); }
