# To be sourced. install_packages [CATEGORY...] installs the missing packages of packages.txt that have no
# category or one of the given categories.

install_packages() {
    local wanted missing=() name
    wanted=$(awk -v categories=" $* " '
        !/^#/ && NF && ($2 == "" || index(categories, " " $2 " ")) { print $1 }' packages.txt)
    for name in $wanted; do
        is_installed "$name" || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Missing packages, and no sudo to install them: ${missing[*]}" >&2
            return 1
        }
        root=(sudo)
    fi
    echo "Installing: ${missing[*]}"
    for name in "${missing[@]}"; do
        case "$name" in
            *:*) "${root[@]}" dpkg --add-architecture "${name#*:}" ;;
        esac
    done
    # Continue after an error: a mirror may lack one list for a moment, and the packages may be in the others.
    "${root[@]}" apt-get update -qq ||
        echo "Not all package lists could be fetched; trying with those that are there." >&2
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Returns whether a package is installed. A name without an architecture means that of this machine.
is_installed() {
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture="($(dpkg --print-architecture)|all)"
    dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$1" 2>/dev/null |
        grep -qxE "$architecture installed"
}
