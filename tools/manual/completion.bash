# SPDX-License-Identifier: Apache-2.0
# Bash completion of audioctl, tv and tv_stress. It reads the commands' help texts, which list
# subcommands, options and arguments.

# Prints the first word of each line in a section of a help text.
_hidlaudio_section() {
    awk -v section="$1" 'index($0, section) == 1 { inside = 1; next } /^[^ ]/ { inside = 0 } inside && /^  [^ ]/ { print $1 }'
}

_hidlaudio() {
    local current=${COMP_WORDS[COMP_CWORD]} command=("$1") place=0 awaited= word help all kind i
    help=$("$1" --help 2>/dev/null) all=$help
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ $word == = ]]; then
            continue
        elif [[ -n $awaited ]]; then
            awaited=
        elif [[ $word == -* ]]; then
            # If the option takes a value, the second word of its line in the help describes it.
            awaited=$(awk -v option="$word" '
                /^  -/ && ("," $1 ",") ~ ("," option ",") && $2 ~ /^[A-Z]+/ && !/^  [^ ]+  / { print $2; exit }' <<<"$all")
        elif _hidlaudio_section Subcommands: <<<"$help" | grep -qxF -- "$word"; then
            command+=("$word") place=0
            help=$("${command[@]}" --help 2>/dev/null) all+=$'\n'$help
        else
            ((++place))
        fi
    done
    [[ $current != = ]] || current=
    COMPREPLY=()
    if [[ -n $awaited ]]; then
        kind=$awaited
    elif [[ $current == -* ]]; then
        kind=$(_hidlaudio_section Options: <<<"$all" | tr ',' '\n' | grep -- '^--' | sort -u | paste -sd '|')
    else
        kind=$(_hidlaudio_section Subcommands: <<<"$help" | paste -sd '|')
        [[ -n $kind ]] || kind=$(_hidlaudio_section Positionals: <<<"$help" | sed -n "$((place + 1))p" | tr -d '[]')
    fi
    # The kind is DIR, FILE, a list of values (a|b, or {a,b} after a colon), or the name of a section of
    # the help that lists the values: SETTING means the section "Settings:".
    case $kind in
        DIR) compopt -o filenames 2>/dev/null || true
            mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
        FILE) compopt -o filenames 2>/dev/null || true
            mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        *:{*}*) kind=${kind#*:{} kind=${kind%%\}*}
            mapfile -t COMPREPLY < <(compgen -W "${kind//,/ }" -- "$current") ;;
        [A-Z]*) mapfile -t COMPREPLY < <(compgen -W "$(_hidlaudio_section "${kind:0:1}$(tr A-Z a-z <<<"${kind:1}")s" <<<"$help")" -- "$current") ;;
        *[a-z]*) mapfile -t COMPREPLY < <(compgen -W "${kind//|/ }" -- "$current") ;;
    esac
}
complete -F _hidlaudio audioctl tv tv_stress
