# The functions that answer Tab for vkreport, vkconfig and kvda from the
# tables above. The tables are written in when the tools are built rather
# than read from "vkconfig --describe" at each Tab: a Tab then starts no
# program and reads no JSON, and the offers are what the commands were built
# to accept. Only identifiers (controller=, vdisk=, pdisk=, ...) are read at
# Tab time, from the report a user would run for them: that takes what the
# report takes, and a report that fails or hangs only means no offers.

# The options of the programs, before the command words.
_vk_options_vkreport='-f --format= --describe --help --version --'
_vk_options_vkconfig='-f --format= --dry-run --describe --help --version --'
_vk_formats='text xml json'
# kvda's commands, and the words that address an object in kvda set, unset,
# fail and replace.
_vk_kvda_commands='init profiles show send set unset fail replace alerts time journal'
_vk_kvda_objects='controller pdisk adisk vdisk cachecade battery enclosure connector fan pwrsupply emm tempprobe tape nvmeadapter'

# Is $2 one of the blank-separated words of $1 (ignoring case)?
_vk_has() {
    [[ " ${1,,} " == *" ${2,,} "* ]]
}

# Offers the words of $1 that begin with $2. A word that ends in "=" keeps
# the cursor after it.
_vk_add() {
    local word
    local -a list
    read -d "" -ra list <<<"$1"
    for word in "${list[@]}"; do
        [[ $word == "$2"* ]] || continue
        COMPREPLY+=("$word")
        [[ $word == *= ]] && compopt -o nospace 2>/dev/null
    done
    return 0
}

# Offers "NAME=" for each name of $1 not among the names given ($3...),
# that begins with $2.
_vk_add_names() {
    local names=$1 cur=$2 name g
    shift 2
    local -a list
    read -d "" -ra list <<<"$names"
    for name in "${list[@]}"; do
        for g in "$@"; do
            [[ ${name,,} == "$g" ]] && continue 2
        done
        _vk_has "${COMPREPLY[*]}" "$name=" || _vk_add "$name=" "$cur"
    done
}

# Offers the values of $1 for the word being typed, $2, which is NAME=VALUE.
# A value may be a comma-separated list: the last item is completed, with
# the values not yet in the list. Readline
# replaces only the text after the last word-break character, so the offers
# are cut to match.
_vk_add_values() {
    local cur=$2 value=${2#*=} lead='' head='' word
    [[ $COMP_WORDBREAKS == *=* ]] || lead=${cur%%=*}=
    [[ $value == *,* ]] && head=${value%,*}, value=${value##*,}
    local typed=$lead$head$value strip=''
    [[ $COMP_WORDBREAKS == *:* && $typed == *:* ]] && strip=${typed%"${typed##*:}"}
    local -a list
    read -d "" -ra list <<<"$1"
    for word in "${list[@]}"; do
        [[ $word == "$value"* && ",$head" != *",$word,"* ]] || continue
        word=$lead$head$word
        COMPREPLY+=("${word#"$strip"}")
    done
    return 0
}

# The identifiers of the objects named $1 (on controller $2 when given), read
# from the lines "ID : ..." of the report vkreport prints for them; $3 is the
# program being completed, so that the vkreport beside it answers.
_vk_ids() {
    local object=$1 ctrl=$2 report=vkreport line
    _vk_has "${_vk_next[vkreport storage]-}" "$object" || return 0
    [[ $3 == */* ]] && report=${3%/*}/vkreport
    report=${report/#\~/$HOME}
    type -P "$report" >/dev/null 2>&1 || return 0
    local -a args=(storage "$object") runner=()
    [[ ${object,,} != controller && -n $ctrl ]] && args+=("controller=$ctrl")
    type -P timeout >/dev/null 2>&1 && runner=(timeout 10)
    "${runner[@]}" "$report" "${args[@]}" </dev/null 2>/dev/null | while IFS= read -r line; do
        [[ $line =~ ^ID\ +:\ (.+)$ ]] && printf '%s\n' "${BASH_REMATCH[1]}"
    done | sort -u
}

# Offers a value of parameter $3 (lower case): its keywords under key $1, else
# identifiers from the estate. $2 is the word being typed, $4 the controller
# given, $5 the program being completed.
_vk_value() {
    if [[ -n ${_vk_keywords[$1]+set} ]]; then
        _vk_add_values "${_vk_keywords[$1]}" "$2"
    else
        _vk_add_values "$(_vk_ids "$3" "$4" "$5")" "$2"
    fi
}

# The words before the cursor, as the user sees them: "raid=r5" and
# "pdisk=0:0:4" are one word each. Sets words, cword and cur.
_vk_words() {
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n =: cur words cword
    else
        local line=${COMP_LINE:0:COMP_POINT}
        read -ra words <<<"$line"
        [[ -z $line || $line == *[[:space:]] ]] && words+=('')
        cword=$((${#words[@]} - 1))
        cur=${words[cword]}
    fi
}

_vk_complete() {
    local cur cword
    local -a words
    _vk_words
    COMPREPLY=()
    local prog=${words[0]##*/}
    [[ -n ${_vk_next[$prog]+set} ]] || return 0

    # Options, then command words, then name=value words.
    local path=$prog action='' ctrl='' opts=1 i w name
    local -a given=()
    for ((i = 1; i < cword; i++)); do
        w=${words[i]}
        if ((opts)); then
            case $w in
            --)
                opts=0
                continue
                ;;
            -f | --format)
                if ((i + 1 == cword)); then
                    _vk_add "$_vk_formats" "$cur"
                    return 0
                fi
                ((i++))
                continue
                ;;
            -*) continue ;;
            esac
            opts=0
        fi
        if [[ $w == *=* ]]; then
            name=${w%%=*}
            name=${name,,}
            given+=("$name")
            [[ $name == action ]] && action=${w#*=}
            [[ $name == controller ]] && ctrl=${w#*=}
        elif ((${#given[@]} == 0)) && _vk_has "${_vk_next[$path]-}" "$w"; then
            path+=" ${w,,}"
        fi
    done

    if ((opts)) && [[ $cur == -* ]]; then
        if [[ $cur == --format=* ]]; then
            _vk_add_values "$_vk_formats" "$cur"
        else
            local options=_vk_options_$prog
            _vk_add "${!options}" "$cur"
        fi
        return 0
    fi
    if ((${#given[@]} == 0)) && [[ $cur != *=* && -n ${_vk_next[$path]+set} ]]; then
        _vk_add "${_vk_next[$path]}" "$cur"
        return 0
    fi

    name=${cur%%=*}
    name=${name,,}
    if [[ -n ${_vk_actions[$path]+set} ]]; then
        if [[ $cur != *=* ]]; then
            if [[ -z $action ]]; then
                _vk_add "action=" "$cur"
            else
                _vk_add_names "${_vk_params[$path|${action,,}]-}" "$cur" "${given[@]}"
            fi
        elif [[ $name == action ]]; then
            _vk_add_values "${_vk_actions[$path]}" "$cur"
        elif [[ -n $action ]]; then
            _vk_value "$path|${action,,}|$name" "$cur" "$name" "$ctrl" "${words[0]}"
        fi
    elif [[ -n ${_vk_rows[$path]+set} ]]; then
        if [[ $cur == *=* ]]; then
            _vk_value "$path||$name" "$cur" "$name" "$ctrl" "${words[0]}"
            return 0
        fi
        # The parameters of the rows that take everything given so far.
        local row names='' g
        local -a rows
        IFS=';' read -ra rows <<<"${_vk_rows[$path]}"
        for row in "${rows[@]}"; do
            for g in "${given[@]}"; do
                _vk_has "$row" "$g" || continue 2
            done
            names+=" $row"
        done
        _vk_add_names "$names" "$cur" "${given[@]}"
    fi
    return 0
}

_vk_kvda_complete() {
    local cur cword
    local -a words
    _vk_words
    COMPREPLY=()
    if ((cword == 1)); then
        _vk_add "$_vk_kvda_commands" "$cur"
        return 0
    fi
    local kvda=${words[0]} prev=${words[cword - 1]} i w name ctrl=''
    local -a given=()
    for ((i = 2; i < cword; i++)); do
        w=${words[i]}
        [[ $w == *=* ]] || continue
        name=${w%%=*}
        given+=("${name,,}")
        [[ ${name,,} == controller ]] && ctrl=${w#*=}
    done
    name=${cur%%=*}
    case ${words[1]} in
    init)
        if [[ $prev == --profile || $cur == --profile=* ]]; then
            local profiles line
            type -P "${kvda/#\~/$HOME}" >/dev/null 2>&1 &&
                profiles=$("${kvda/#\~/$HOME}" profiles </dev/null 2>/dev/null | cut -f1)
            if [[ $cur == *=* ]]; then
                _vk_add_values "$profiles" "$cur"
            else
                _vk_add "$profiles" "$cur"
            fi
        else
            _vk_add "--profile --force" "$cur"
        fi
        ;;
    show)
        if [[ $cur == --format=* ]]; then
            _vk_add_values "$_vk_formats" "$cur"
        else
            _vk_add "--format=" "$cur"
        fi
        ;;
    send)
        if ((cword == 2)); then
            if [[ $cur == vkacmd=* ]]; then
                _vk_add_values "${!_vk_requests[*]}" "$cur"
            else
                _vk_add "vkacmd=" "$cur"
            fi
        elif [[ $cur != *=* ]]; then
            _vk_add_names "${_vk_requests[${words[2]#vkacmd=}]-}" "$cur" "${given[@]}"
        fi
        ;;
    set | unset | fail | replace)
        if [[ $cur == *=* ]]; then
            _vk_has "$_vk_kvda_objects" "$name" &&
                _vk_add_values "$(_vk_ids "${name,,}" "$ctrl" "$kvda")" "$cur"
        elif ! _vk_has "${given[*]}" controller; then
            _vk_add "controller=" "$cur"
        elif ((${#given[@]} < 2)); then
            _vk_add_names "$_vk_kvda_objects" "$cur" "${given[@]}"
        fi
        ;;
    time) ((cword == 2)) && _vk_add "advance" "$cur" ;;
    journal) ((cword == 2)) && _vk_add "--clear" "$cur" ;;
    esac
    return 0
}

complete -F _vk_complete vkreport vkconfig
complete -F _vk_kvda_complete kvda
