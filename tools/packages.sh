# To be sourced: install_packages [CATEGORY...] installs what packages.txt lists without a
# category or under one of those, and the machine lacks.

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
    # One list of many that a mirror has half copied: the packages may all be in the others.
    "${root[@]}" apt-get update -qq ||
        echo "Not all package lists could be fetched; trying with those that are there." >&2
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# A name without an architecture is not installed by being there for another one alone.
is_installed() {
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture="($(dpkg --print-architecture)|all)"
    dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$1" 2>/dev/null |
        grep -qxE "$architecture installed"
}
