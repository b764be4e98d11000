# Completion of gpon-shell for bash.

_gpon_shell()
{
    local current=$2 previous=$3
    COMPREPLY=()
    case $previous in
    --running | --card | --plugin | --connect | --key | --known-hosts | --history)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --timeout) return ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "--running --card --plugin --connect --key --known-hosts --skip-foreign --yes --no --continue
        --history --no-history --timeout --help --version" -- "$current")
}

complete -F _gpon_shell gpon-shell
