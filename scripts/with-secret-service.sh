#!/usr/bin/env bash
# Runs a command beside a Secret Service of its own: gnome-keyring-daemon on a
# private D-Bus session bus, with a keyring in a temporary folder, unlocked
# with a throw-away password. The user's own keyring and session bus are never
# touched. Exports NOMLY_PRIVATE_SECRET_SERVICE=1 so that tests know the
# keyring they write to is disposable.
#
#   scripts/with-secret-service.sh <command> [arguments...]
set -euo pipefail

if [ $# -eq 0 ]; then
    echo "usage: $0 <command> [arguments...]" >&2
    exit 2
fi

for tool in dbus-run-session gnome-keyring-daemon; do
    if ! command -v "$tool" >/dev/null; then
        echo "with-secret-service: $tool is missing; run scripts/install-deps.sh" >&2
        exit 1
    fi
done

# First pass: start a private session bus and run this script again inside it.
if [ -z "${NOMLY_SECRET_SERVICE_BUS:-}" ]; then
    exec env NOMLY_SECRET_SERVICE_BUS=1 dbus-run-session -- bash "$0" "$@"
fi

scratch=$(mktemp -d)
daemon_pid=
cleanup() {
    if [ -n "$daemon_pid" ]; then
        kill "$daemon_pid" 2>/dev/null || true
    fi
    rm -rf "$scratch"
}
trap cleanup EXIT

mkdir -m 0700 "$scratch/home" "$scratch/data" "$scratch/runtime"
export HOME="$scratch/home"
export XDG_DATA_HOME="$scratch/data"
export XDG_RUNTIME_DIR="$scratch/runtime"
unset GNOME_KEYRING_CONTROL

# --unlock reads the password on stdin and creates the login keyring with it;
# the daemon then prints the variables clients need.
daemon_env=$(printf '%s' "nomly-test-keyring" | gnome-keyring-daemon --daemonize --unlock --components=secrets)
if [ -n "$daemon_env" ]; then
    eval "export $daemon_env"
fi

bus_call() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus "$@" 2>/dev/null
}

# The daemon claims its bus name shortly after it forks. Its process is found
# through this private bus, so that only this daemon is stopped at the end.
for _ in $(seq 1 50); do
    if bus_call org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets | grep -q "boolean true"; then
        daemon_pid=$(bus_call org.freedesktop.DBus.GetConnectionUnixProcessID string:org.freedesktop.secrets |
            awk '/uint32/ { print $2 }')
        break
    fi
    sleep 0.1
done

export NOMLY_PRIVATE_SECRET_SERVICE=1
"$@"
