#!/usr/bin/env bash
# Presses Tab at the end of each LINE as bash does: COMP_WORDS split at
# blanks and at the word-break characters "=" and ":", COMP_CWORD the last
# word, COMP_LINE and COMP_POINT; then calls the function registered for the
# command. Prints each line's offers on one line, separated by tabs.
# Usage: complete.sh [--plain] COMPLETION_FILE LINE...
# --plain: without bash-completion's helpers loaded.
if [ "$1" = --plain ]; then
    shift
else
    source /usr/share/bash-completion/bash_completion
fi
source "$1"
shift
for line in "$@"; do
    COMP_LINE=$line
    COMP_POINT=${#line}
    COMP_WORDS=()
    read -ra blanks <<<"$line"
    for word in "${blanks[@]}"; do
        while [[ -n $word ]]; do
            [[ $word =~ ^([=:]+|[^=:]+)(.*)$ ]]
            COMP_WORDS+=("${BASH_REMATCH[1]}")
            word=${BASH_REMATCH[2]}
        done
    done
    [[ -z $line || $line == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    registered=$(complete -p "${COMP_WORDS[0]##*/}")
    function=${registered#*-F }
    COMPREPLY=()
    "${function%% *}" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    (IFS=$'\t'; printf '%s\n' "${COMPREPLY[*]}")
done
