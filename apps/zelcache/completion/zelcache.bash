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

_zelcache_names() { # WORD...: of which the program takes any letter case
    local each
    for each in "$@"; do
        [[ ${each,,} != "${word,,}"* ]] || COMPREPLY+=("$each")
    done
}

_zelcache_references() {
    local options=() found=()
    [[ -z $cache ]] || options=(--cache "${cache/#\~\//$HOME/}")
    # The program filters: the shell would take seconds for the references of a large cache.
    mapfile -t found < <("$program" "${options[@]}" list --references --prefix "$word" 2>/dev/null)
    COMPREPLY=("${found[@]}") needs_quotes=yes
}

_zelcache_formats() {
    local formats=()
    mapfile -t formats < <("$program" formats 2>/dev/null | sed '1d; s/ .*//')
    _zelcache_names "${formats[@]}"
}

_zelcache_value() { # OPTION: what may stand as its value
    case $1 in
    --cache) _zelcache_files directory ;;
    -f | --file | --trace) _zelcache_files file ;;
    --sort) _zelcache_names size age name ;;
    --status) _zelcache_names Ready Missing ScheduledForAcquire Acquiring ;;
    --format) _zelcache_formats ;;
    --prefix) _zelcache_references ;;
    esac
}

_zelcache_argument() { # COMMAND, then the arguments before the word
    case $1:$# in
    get:* | hold:* | exists:* | remove:* | verify:* | recount:*) _zelcache_references ;;
    info:1 | path:1 | who:1 | why:1 | add:1 | policy:1) _zelcache_references ;;
    add:2 | formats:*) _zelcache_files file ;;
    policy:2) _zelcache_names Never OnClose OnDemand ;;
    config:1) _zelcache_words show get set path ;;
    config:2)
        [[ $2 != @(get|set) ]] ||
            _zelcache_names CacheLocationPath OptimalCacheSize MaximumCacheSize
        ;;
    config:3) [[ $2:${3,,} != set:cachelocationpath ]] || _zelcache_files directory ;;
    esac
}

# Takes the line apart as bash will: `words` without their quotes and backslashes, `whole` the one at
# the cursor, `quote` the one that is open there. Bash replaces only what stands behind `kept` letters
# of it: behind that quote, or else behind the last of its own word breaks. COMP_WORDS do not do:
# they are split at the colons of references.
_zelcache_split() { # LINE
    local line=$1 letter='' begun='' opened=0 at
    words=() whole='' quote='' kept=0
    for ((at = 0; at < ${#line}; ++at)); do
        letter=${line:at:1}
        case $quote$letter in
        [[:space:]])
            [[ -z $begun ]] || words+=("$whole")
            whole='' begun='' kept=0
            continue
            ;;
        \\)
            at=$((at + 1))
            whole+=${line:at:1}
            ;;
        \"\\) # stands for itself before most letters
            [[ ${line:at+1:1} != [\\\"\$\`] ]] || at=$((at + 1))
            whole+=${line:at:1}
            ;;
        \' | \") quote=$letter opened=${#whole} ;;
        \'\' | \"\") quote='' ;;
        @) # a word break that belongs to what is behind it
            [[ $COMP_WORDBREAKS != *@* ]] || kept=${#whole}
            whole+=@
            ;;
        *)
            whole+=$letter
            [[ -n $quote || $COMP_WORDBREAKS != *"$letter"* ]] || kept=${#whole}
            ;;
        esac
        begun=yes
    done
    [[ -z $quote ]] || kept=$opened
    words+=("$whole")
}

_zelcache_quoted() { # TEXT: as it has to stand behind the quote that is open
    local text=$1 each
    case $quote in
    \') text=${text//\'/\'\\\'\'} ;;
    \") for each in \\ \" \$ \`; do text=${text//"$each"/"\\$each"}; done ;;
    *) [[ -z $text ]] || printf -v text %q "$text" ;;
    esac
    REPLY=$text
}

_zelcache_without_kept() { # what stands in the line already must not come twice
    local each REPLY
    for each in "${!COMPREPLY[@]}"; do
        REPLY=${COMPREPLY[each]#"${whole:0:kept}"}
        # Bash quotes the names of files by itself.
        [[ -z $needs_quotes ]] || _zelcache_quoted "$REPLY"
        COMPREPLY[each]=$REPLY
    done
}

_zelcache() {
    local program=${COMP_WORDS[0]/#\~\//$HOME/}
    local IFS=$' \t\n' words whole quote kept needs_quotes=''
    local arguments=() option='' cache='' help each word
    COMPREPLY=()
    _zelcache_split "${COMP_LINE:0:COMP_POINT}"
    word=$whole
    help=$("$program" --help 2>/dev/null)
    for each in "${words[@]:1:${#words[@]}-2}"; do
        if [[ -n $option ]]; then
            [[ $option != --cache ]] || cache=$each
            option=''
        elif [[ $each == -- && ${arguments[0]} == hold ]]; then
            # The line of another program, which its own completion would know.
            if [[ ${words[-2]} == -- ]]; then _zelcache_files command; else _zelcache_files file; fi
            _zelcache_without_kept
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
    _zelcache_without_kept
}

complete -o nosort -F _zelcache zelcache
