# bash completion for nimbex; needs nothing but bash.

_nimbex()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} option=
    COMPREPLY=()
    # "=" stands between an option and its value as a word of its own.
    if [[ $word == = ]]; then
        option=$before word=
    elif [[ $before == = ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $option in
    -p) COMPREPLY=($(compgen -W "ps disk grid merc lamb zoom" -- "$word")) ;;
    -s) COMPREPLY=($(compgen -W "1 2 3" -- "$word")) ;;
    -v) COMPREPLY=($(compgen -W "1.0 1.1" -- "$word")) ;;
    -b) COMPREPLY=($(compgen -W "8 10 12 14" -- "$word")) ;;
    -y) COMPREPLY=($(compgen -W "0 1 2" -- "$word")) ;;
    "" | -h | -t | -d)
        if [[ -z $option && $word == -* ]]; then
            compopt -o nospace 2>/dev/null
            COMPREPLY=($(compgen -W "-c= -s -z -m -b -t= -v -a -g -i -n -f -e -d= -k -h= -p= -w= -y=" \
                -- "$word"))
        else
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
        fi
        ;;
    esac
}
complete -F _nimbex nimbex
