# Sourced by the scripts here: Debian packages, installed when that is allowed.

# need PACKAGE... : makes sure that the packages are there, or ends the script with their names.
need() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
            echo "missing packages: ${missing[*]}" >&2
            echo "install them with: apt-get install ${missing[*]}" >&2
            exit 1
        fi
        root=(sudo -n)
    fi
    echo "installing ${missing[*]}"
    "${root[@]}" apt-get update -qq
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y \
        --no-install-recommends "${missing[@]}"
}
