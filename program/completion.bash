# bash completion of kestrix-disp

_kestrix_disp()
{
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    local profile="--device --setting --help" options=""
    COMPREPLY=()

    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "render send explain preview emulate lint new-profile check which --help --version" -- "$cur")
        return
    fi
    case $prev in
    --device | --columns | --rows | --clock | --at | --until-idle | --timeout | --map | --unmap | --code-page | \
        --set-default | --missing | --id | --languages) return ;;
    --port)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "${cur:-/dev/tty}")
        return
        ;;
    --speed)
        mapfile -t COMPREPLY < <(compgen -W "1200 2400 4800 9600 19200 38400 57600 115200" -- "$cur")
        return
        ;;
    --parity)
        mapfile -t COMPREPLY < <(compgen -W "none odd even" -- "$cur")
        return
        ;;
    --data-bits)
        mapfile -t COMPREPLY < <(compgen -W "7 8" -- "$cur")
        return
        ;;
    --stop-bits)
        mapfile -t COMPREPLY < <(compgen -W "1 2" -- "$cur")
        return
        ;;
    --flow)
        mapfile -t COMPREPLY < <(compgen -W "none rtscts xonxoff" -- "$cur")
        return
        ;;
    --format)
        mapfile -t COMPREPLY < <(compgen -W "text json" -- "$cur")
        return
        ;;
    --origin)
        mapfile -t COMPREPLY < <(compgen -W "0 1" -- "$cur")
        return
        ;;
    --setting)
        local file
        for file in /usr/local/KALDO/HalvoCvt/"$cur"*.txt; do
            [ -e "$file" ] && file=${file##*/} && COMPREPLY+=("${file%.txt}")
        done
        return
        ;;
    esac
    case ${COMP_WORDS[1]} in
    render) options="--hex --raw --output --columns --rows --origin --strict --quiet $profile" ;;
    send)
        options="--port --speed --parity --data-bits --stop-bits --flow --timeout --stream --watch --list
            --columns --rows --origin --strict --quiet $profile"
        ;;
    lint) options="--columns --rows --origin --strict --quiet --format --rules $profile" ;;
    explain) options="--document --hex --raw $profile" ;;
    preview)
        options="--document --hex --raw --columns --rows --origin --clock --at --sgr --ascii --svg --png --watch $profile"
        ;;
    emulate)
        options="--link --speed --parity --stop-bits --until-idle --record --screen --svg --png --columns --rows --origin --clock --ascii $profile"
        ;;
    new-profile)
        options="--device --table --map --unmap --code-page --set --set-default --missing --fallback --unicode-data --path --log-path
            --id --languages --list --help"
        ;;
    check) options="--device --strict --help" ;;
    which) options=$profile ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    else
        local kind=-f
        case ${COMP_WORDS[1]}:$prev in
        *:--unicode-data) ;;
        check:* | new-profile:*) kind=-d ;;
        esac
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen $kind -- "$cur")
    fi
}
complete -F _kestrix_disp kestrix-disp
