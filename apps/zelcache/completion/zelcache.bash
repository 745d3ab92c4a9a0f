# Completion of zelcache for bash: commands, options, their values, and the references that the cache
# knows. Source it, or put it into a folder that your shell reads completions from.

_zelcache_options() { # what the helps on standard input list, a name a line
    sed -n 's/^  \(-.*\)/\1/p' | sed 's/  .*//' | grep -o -e '--\?[a-z0-9][a-z-]*' | sort -u
}

_zelcache_takes_value() { # OPTION HELP
    local line
    while IFS= read -r line; do
        [[ ! $line =~ ^\ \ (-[a-z0-9],)?(--[a-z-]+)\ [A-Z] ]] ||
            [[ $1 != "${BASH_REMATCH[2]}" && $1, != "${BASH_REMATCH[1]}" ]] || return 0
    done <<<"$2"
    return 1
}

_zelcache_files() { # ACTION of compgen, for the word
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -A "$1" -- "${word/#\~\//$HOME/}")
}

_zelcache_words() { # WORD...
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "$word")
}

_zelcache_references() {
    local options=() found=()
    [[ -z $cache ]] || options=(--cache "${cache/#\~\//$HOME/}")
    # The program filters: the shell would take seconds for the references of a large cache.
    mapfile -t found < <("$program" "${options[@]}" list --references --prefix "$word" 2>/dev/null)
    ((${#found[@]} == 0)) || mapfile -t COMPREPLY < <(printf '%q\n' "${found[@]}")
}

_zelcache_value() { # OPTION: what may stand as its value
    case $1 in
    --cache) _zelcache_files directory ;;
    -f | --file | --trace) _zelcache_files file ;;
    --sort) _zelcache_words size age name ;;
    --status) _zelcache_words Ready Missing ScheduledForAcquire Acquiring ;;
    --format) _zelcache_words "$("$program" formats 2>/dev/null | sed '1d; s/ .*//')" ;;
    --prefix) _zelcache_references ;;
    esac
}

_zelcache_argument() { # COMMAND, then the arguments before the word
    case $1:$# in
    get:* | hold:* | exists:* | remove:* | verify:* | recount:*) _zelcache_references ;;
    info:1 | path:1 | who:1 | why:1 | add:1 | policy:1) _zelcache_references ;;
    add:2 | formats:*) _zelcache_files file ;;
    policy:2) _zelcache_words Never OnClose OnDemand ;;
    config:1) _zelcache_words show get set path ;;
    config:2)
        [[ $2 != @(get|set) ]] ||
            _zelcache_words CacheLocationPath OptimalCacheSize MaximumCacheSize
        ;;
    config:3) [[ $2:${3,,} != set:cachelocationpath ]] || _zelcache_files directory ;;
    esac
}

# Bash replaces only what follows the last of its own word breaks.
_zelcache_without_before() { # the word as it stands in the line
    local before=''
    [[ $COMP_WORDBREAKS != *=* || $1 != --*=* ]] || before=${1%"${1##*=}"}
    [[ $COMP_WORDBREAKS != *:* || $1 != *:* ]] || before=${1%"${1##*:}"}
    COMPREPLY=("${COMPREPLY[@]#"$before"}")
}

_zelcache() {
    local program=${COMP_WORDS[0]/#\~\//$HOME/} line=${COMP_LINE:0:COMP_POINT}
    local IFS=$' \t\n' words arguments=() option='' cache='' help each word
    local raw=${line##*[[:space:]]}
    COMPREPLY=()
    # The words of bash do not do: it splits references at their colons. This undoes backslashes.
    # shellcheck disable=SC2162
    read -a words <<<"$line"
    [[ -n $raw ]] || words+=('')
    word=${words[-1]}
    help=$("$program" --help 2>/dev/null)
    for each in "${words[@]:1:${#words[@]}-2}"; do
        if [[ -n $option ]]; then
            [[ $option != --cache ]] || cache=$each
            option=''
        elif [[ $each == -- && ${arguments[0]} == hold ]]; then
            # The line of another program, which its own completion would know.
            if [[ ${words[-2]} == -- ]]; then _zelcache_files command; else _zelcache_files file; fi
            _zelcache_without_before "$raw"
            return
        elif [[ $each == --cache=* ]]; then
            cache=${each#*=}
        elif [[ $each == -* ]]; then
            ! _zelcache_takes_value "$each" "$help" || option=$each
        else
            # The help of a command has its options, behind which common ones may stand.
            ((${#arguments[@]})) || help+=$'\n'$("$program" "$each" --help 2>/dev/null)
            arguments+=("$each")
        fi
    done
    if [[ -n $option ]]; then
        _zelcache_value "$option"
    elif [[ $word == --*=* ]]; then
        option=${word%%=*} word=${word#*=}
        _zelcache_value "$option"
        COMPREPLY=("${COMPREPLY[@]/#/"$option="}")
    elif [[ $word == -* ]]; then
        _zelcache_words "$(_zelcache_options <<<"$help")"
    elif ((${#arguments[@]} == 0)); then
        _zelcache_words "$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\).*/\1/p' <<<"$help")"
    else
        _zelcache_argument "${arguments[@]}"
    fi
    _zelcache_without_before "$raw"
}

complete -o nosort -F _zelcache zelcache
