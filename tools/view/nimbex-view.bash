# bash completion for nimbex-view; needs nothing but bash.

_nimbex_view()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} words= option
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "info png vrt csv diff --help" -- "$word"))
        return
    fi
    # "=" stands between an option and its value as a word of its own.
    if [[ $word == = ]]; then
        option=$before word=
    elif [[ $before == = ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    else
        option=$before
    fi
    case $option in
    -p) words="ps disk grid merc lamb" ;;
    --palette) words="grey enhanced visible rainbow diff" ;;
    --range | --grid | --scale) return ;;
    *)
        case $command in
        info) words="--json --help" ;;
        png) words="--range --palette --coast --map --grid --legend --scale -p --setup --help" ;;
        vrt | csv) words="-p --setup --help" ;;
        *) words="--help" ;;
        esac
        if [[ $word != -* ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
        fi
        ;;
    esac
    COMPREPLY=($(compgen -W "$words" -- "$word"))
}
complete -F _nimbex_view nimbex-view
