# bash completion for pastille                             -*- shell-script -*-

# Store files and folders, or folders only, that begin with $cur.
_pastille_paths() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$cur")
    [[ $1 != folders ]] || return 0
    local folders=("${COMPREPLY[@]}")
    mapfile -t COMPREPLY < <(compgen -f -X '!*.[pPoO][sS][tT]' -- "$cur")
    # When there is none by these names: any file.
    if ((${#COMPREPLY[@]} > 0)); then
        COMPREPLY+=("${folders[@]}")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
}

_pastille() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' options='' word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
        case $word in
        repair | scan | list | check)
            command=$word
            break
            ;;
        esac
    done
    case $command in
    repair) options='--help --smart --code-page --json --quiet --to --complete --kind --verify' ;;
    scan) options='--help --smart --code-page --json --quiet' ;;
    list) options='--help --folder --code-page --json' ;;
    check) options='--help --json' ;;
    *) options='--help --version' ;;
    esac
    COMPREPLY=()
    case $previous in
    --to) _pastille_paths folders ;;
    --kind) mapfile -t COMPREPLY < <(compgen -W 'pst ost' -- "$cur") ;;
    --code-page)
        mapfile -t COMPREPLY < <(compgen -W 'windows-1250 windows-1251 windows-1252 windows-1253 windows-1254 windows-1255
            windows-1256 windows-1257 windows-1258 windows-874 shift_jis gb18030 euc-kr big5 koi8-r' -- "$cur")
        ;;
    --folder) ;;
    *)
        if [[ $cur == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        elif [[ -z $command ]]; then
            mapfile -t COMPREPLY < <(compgen -W 'repair scan list check' -- "$cur")
        else
            _pastille_paths stores
        fi
        ;;
    esac
}

complete -F _pastille pastille
