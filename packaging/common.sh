# SPDX-License-Identifier: MIT
# Sourced by the scripts: failing with a sentence, and progress of what takes minutes.
set -Eeuo pipefail

# fail SENTENCE [STATUS]: FAILED_AS is the command that a person has typed, where that is another one.
failure_status=1
fail() {
    [ ! -t 2 ] || printf '\r\e[K' >&2 # a line of progress may stand there
    printf '%s: %s\n' "${FAILED_AS:-${0##*/}}" "$1" >&2
    exit "${2:-$failure_status}"
}

# The last resort: no script ends without a word.
say_what_failed() {
    local status=$1 line=$2 command=$3
    [ "$BASH_SUBSHELL" -gt 0 ] || fail "\"${command%%$'\n'*}\" in line $line of ${0##*/} failed with status $status"
}
trap 'say_what_failed $? $LINENO "$BASH_COMMAND"' ERR

# whole_number TEXT LEAST GREATEST: whether it is one between these two.
whole_number() { [[ $1 =~ ^[1-9][0-9]{0,8}$ ]] && [ "$1" -ge "$2" ] && [ "$1" -le "$3" ]; }

# show_progress TEXT: on a terminal one line that changes; elsewhere a line every ten seconds.
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
# end_progress TEXT: the line that stays.
end_progress() {
    if [ -t 1 ]; then printf '\r\e[K'; fi
    printf '%s\n' "$1"
}
elapsed() { printf '%d:%02d' $((SECONDS / 60)) $((SECONDS % 60)); }
