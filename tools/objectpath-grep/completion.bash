# Completion of the arguments of objectpath-grep, for bash.

# Called with the program, the word to complete and the word before it. The options are those of the program's help.
_objectpath_grep() {
    local program=$1 word=$2 before=$3 typed=${COMP_LINE:0:COMP_POINT}
    local line letter name argument option='' options=()
    typed=${typed##* } # with the = of --option=WORD, which bash takes for a word of its own
    while IFS= read -r line; do
        [[ $line =~ ^' '{2,6}((-.), )?(--[a-z-]+)(\[?=)? ]] || continue
        letter=${BASH_REMATCH[2]} name=${BASH_REMATCH[3]} argument=${BASH_REMATCH[4]}
        options+=("$letter" "$name${argument:+=}")
        if [[ $typed == "$name="* || ($argument == '=' && ($before == "$name" || $before == "$letter")) ]]; then
            option=$name
        fi
    done < <("$program" --help 2>/dev/null)

    # Names of files are what bash offers by default.
    case $option in
        --file) ;;
        --color) mapfile -t COMPREPLY < <(compgen -W 'auto always never' -- "$word") ;;
        ?*) compopt +o default ;;
        *)
            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "${options[*]}" -- "$word")
            fi
            if [[ ${COMPREPLY-} == *= ]]; then
                compopt -o nospace
            fi
            ;;
    esac
}

complete -o default -F _objectpath_grep objectpath-grep
