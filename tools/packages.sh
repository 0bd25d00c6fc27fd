# To be sourced: install_packages [ci] installs what packages.txt lists and the machine lacks.

install_packages() {
    local wanted missing=() name
    wanted=$(awk -v ci="${1:-}" '!/^#/ && NF && ($2 == "" || $2 == ci) { print $1 }' packages.txt)
    for name in $wanted; do
        dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null | grep -qx installed || missing+=("$name")
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
    "${root[@]}" apt-get update -qq
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
