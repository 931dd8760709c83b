#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# scripts/show-on-virtual-display.sh COMMAND…: starts the command on a private screen, saves that screen
# as quorvane-screen.png in the current folder once there is a picture on it, and ends all it started.
# Exit status: 0 with a picture; else the command's own where that ended by itself with an error; else 1.
set -euo pipefail

readonly patience=20 # seconds that the command has to bring up its picture
readonly picture=quorvane-screen.png

private=$(mktemp -d) # mode 0700, as a runtime folder must be
started=()           # process ids, first the screen

# end_all: ends what was started, last first, and waits for it.
end_all() {
    local i pid
    trap '' INT TERM HUP
    for ((i = ${#started[@]} - 1; i >= 0; --i)); do
        pid=${started[i]}
        kill "$pid" 2>/dev/null || continue
        timeout 5 tail --pid="$pid" -s 0.05 -f /dev/null || kill -KILL "$pid" 2>/dev/null || true
    done
    wait
    rm -rf -- "$private"
}
trap end_all EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

# screen_failed WHAT: gives up because of the screen, not of the command; shows what its servers said.
screen_failed() {
    cat -- "$private/log" >&2
    printf '%s\n' "$1" >&2
    exit 1
}

# start_server COMMAND…: starts a server that writes its address to descriptor 3, into $address.
start_server() {
    local answer=$private/answer-${1##*/}
    mkfifo "$answer"
    "$@" 3>"$answer" >>"$private/log" 2>&1 &
    started+=($!)
    IFS= read -r -t 20 address <"$answer" || screen_failed "$1 did not start."
}

start_desktop() {
    start_server Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset
    export DISPLAY=:$address
    export XDG_RUNTIME_DIR=$private QT_QPA_PLATFORM=xcb
    start_server dbus-daemon --session --nofork --print-address=3
    export DBUS_SESSION_BUS_ADDRESS=$address

    openbox >>"$private/log" 2>&1 &
    started+=($!)
    local tries
    for ((tries = 0; tries < 100; ++tries)); do
        xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && return
        sleep 0.1
    done
    screen_failed 'The window manager did not start.'
}

# look: takes a picture of the screen; $colours counts its colours, $pixels is their digest.
look() {
    import -silent -window root "$private/look.png" 2>>"$private/log" || screen_failed 'The screen cannot be read.'
    read -r colours pixels < <(identify -format '%k %#\n' "$private/look.png")
}

# wait_for_picture: until the screen shows more than one colour and two looks are alike. Something that
# never stands still, a film for instance, counts as a picture when the time is over.
wait_for_picture() {
    local before='' deadline=$((SECONDS + patience))
    while ((SECONDS < deadline)); do
        sleep 0.5
        if ! kill -0 "$viewer" 2>/dev/null; then
            wait "$viewer" || exit
            echo 'The viewer ended before it showed a picture.' >&2
            exit 1
        fi
        look
        if ((colours > 1)) && [[ $pixels == "$before" ]]; then return; fi
        before=$pixels
    done
    if ((colours < 2)); then
        echo "No picture came within $patience seconds." >&2
        exit 1
    fi
}

start_desktop
"$@" &
viewer=$!
started+=("$viewer")
wait_for_picture
mv -f -- "$private/look.png" "./$picture"
printf '%s/%s\n' "${PWD%/}" "$picture"
