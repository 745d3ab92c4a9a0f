# Completion of zelcache for bash: commands, options, and the references that the cache knows.
# Source it, or put it into a folder that your shell reads completions from.

_zelcache_help() { # WORDS...: what the help of these words lists in its first column
    "${COMP_WORDS[0]}" "$@" --help 2>/dev/null
}

_zelcache_commands() {
    _zelcache_help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\).*/\1/p'
}

_zelcache_options() {
    # Common options may stand behind a command, too.
    { _zelcache_help; [[ -z $1 ]] || _zelcache_help "$1"; } |
        sed -n 's/^  \(-.*\)/\1/p' | sed 's/  .*//' | grep -o -e '--\?[a-z0-9][a-z-]*' | sort -u
}

_zelcache_word() { # the word at the cursor, whole: bash splits references at their colons
    local line=${COMP_LINE:0:COMP_POINT}
    printf '%s' "${line##*[[:space:]]}"
}

_zelcache_cache() { # the cache that the line names
    local index
    for ((index = 1; index < COMP_CWORD; index++)); do
        [[ ${COMP_WORDS[index]} != --cache ]] || printf '%s' "${COMP_WORDS[index + 1]}"
    done
}

_zelcache_references() { # PREFIX
    local cache options=()
    cache=$(_zelcache_cache)
    [[ -z $cache ]] || options=(--cache "$cache")
    "${COMP_WORDS[0]}" "${options[@]}" list --references 2>/dev/null |
        while IFS= read -r reference; do
            [[ $reference != "$1"* ]] || printf '%q\n' "$reference"
        done
}

_zelcache() {
    local word command='' candidate
    word=$(_zelcache_word)
    for candidate in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $candidate =~ ^[a-z]+$ ]] && _zelcache_commands | grep -qx -- "$candidate"; then
            command=$candidate
            break
        fi
    done
    local IFS=$'\n'
    if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "$(_zelcache_options "$command")" -- "$word"))
    elif [[ ${COMP_WORDS[COMP_CWORD - 1]} == --cache ]]; then
        COMPREPLY=($(compgen -d -- "$word"))
    elif [[ ${COMP_WORDS[COMP_CWORD - 1]} == @(-f|--file|--trace) ]]; then
        COMPREPLY=($(compgen -f -- "$word"))
    elif [[ -z $command ]]; then
        COMPREPLY=($(compgen -W "$(_zelcache_commands)" -- "$word"))
    elif [[ $command == formats ]]; then
        COMPREPLY=($(compgen -f -- "$word"))
    else
        COMPREPLY=($(_zelcache_references "$word"))
        # What bash takes for earlier words stands in the line already.
        local before=${word%"${word##*:}"}
        [[ $COMP_WORDBREAKS != *:* || $word != *:* ]] ||
            COMPREPLY=("${COMPREPLY[@]#"$before"}")
    fi
}

complete -o nosort -F _zelcache zelcache
