#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# scripts/packages.sh GROUP…: installs what is missing of these groups of Debian packages.
# Says nothing and asks nobody when all are there.
set -euo pipefail

declare -A packages=(
    # To configure and compile.
    [build]='g++ cmake ninja-build pkg-config ccache qt6-base-dev libqt6opengl6-dev qt6-svg-dev
        libgl-dev libglib2.0-dev libxcb1-dev libexpected-dev libseccomp-dev
        libturbojpeg0-dev libexif-dev liblcms2-dev libpng-dev libwebp-dev libheif-dev libjxl-dev
        librsvg2-dev libopenexr-dev libfontconfig-dev libtiff-dev libopenjp2-7-dev libraw-dev libicns-dev
        libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
        libmpv-dev libasound2-dev'
    # What the viewer loads only when it runs.
    [run]='qt6-qpa-plugins qt6-wayland libqt6svg6 shared-mime-info libmpv2'
    # To test.
    [test]='libgtest-dev libgmock-dev xvfb openbox x11-utils dbus libx11-dev libxdamage-dev libxtst-dev x11-xserver-utils
        desktop-file-utils sway grim wtype
        fonts-dejavu-core
        qt6-image-formats-plugins
        imagemagick libjpeg-turbo-progs webp libheif-examples libjxl-tools libopenjp2-tools
        librsvg2-bin libraw-bin ffmpeg pulseaudio'
    # To check the sources.
    [check]='clang-format-14 clang-tidy-14'
    # To measure against others (bench/), beside what the tests need.
    [bench]='libvips-tools mpv'
    # To start the viewer on a machine without a display.
    [display]='xvfb openbox x11-utils imagemagick fonts-dejavu-core dbus'
)
project=$(dirname -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")")

# missing_packages NAME…: those of the names that are not installed, one a line, each once.
missing_packages() {
    comm -23 <(printf '%s\n' "$@" | sort -u) \
        <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null \
            | sed -n 's/^installed //p' | sort -u)
}

# install_packages NAME…: quiet unless it fails. Becomes root through sudo where it must.
install_packages() {
    local log=$project/build/log/packages.log as_root=()
    local -r install=(apt-get install -y --no-install-recommends -o DPkg::Lock::Timeout=500)
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            printf 'Only root can install packages. Please have this run as root:\n  %s\n' \
                "apt-get update && ${install[*]} $*" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    printf 'Installing %d packages: %s\n' $# "$*" >&2
    ((EUID == 0)) || echo 'sudo may ask for your password: only root can install packages.' >&2

    mkdir -p "${log%/*}"
    as_root+=(env DEBIAN_FRONTEND=noninteractive)
    # A package source that does not answer matters only if a package is then not found.
    "${as_root[@]}" apt-get update -q </dev/null >"$log" 2>&1 || true
    if ! "${as_root[@]}" "${install[@]}" "$@" </dev/null >>"$log" 2>&1; then
        tail -n 40 "$log" >&2
        printf 'The packages could not be installed (the end of %s is above).\n' "$log" >&2
        return 1
    fi
}

# need_packages GROUP…: sees to it that all packages of the groups are installed.
need_packages() {
    local group group_names names=() missing
    for group in "$@"; do
        read -r -d '' -a group_names <<<"${packages[$group]}" || true
        names+=("${group_names[@]}")
    done
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo 'Not a Debian system: going on with what is installed here.' >&2
        return
    fi
    mapfile -t missing < <(missing_packages "${names[@]}")
    ((${#missing[@]} == 0)) || install_packages "${missing[@]}"
}

need_packages "$@"
