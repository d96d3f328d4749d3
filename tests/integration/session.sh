#!/usr/bin/env bash
# Runs one command inside a private session bus with a throwaway home, the way
# the worker meets a desktop session: a notification service (the dbusmock
# notification daemon) and, on request, an unlocked gnome-keyring seeded with
# saved passwords. Needs no desktop, no terminal and no standard input, and
# works as root.
#
#   session.sh --home DIR --work DIR --out DIR [--no-notifications]
#              [--keyring ITEMS] [--bulk-keyring COUNT] [--lock-keyring]
#              [--fake-keyring PROGRAM OPTIONS] [--monitor] [--command-limit SECONDS]
#              -- COMMAND [ARG...]
#
# COMMAND runs with HOME=DIR, the working folder as its current folder and
# standard input closed. Into the --out folder (made if missing) go:
#   stdout, stderr, status     what COMMAND printed and its exit status
#   notifications.json         the Notify calls the notification service got
#   bus.log                    the bus traffic, with --monitor; the signal
#                              org.tasselby.Session.CommandStarting marks where
#                              COMMAND's own traffic begins
#   services.log               what the started services printed
# ITEMS is a file of keyring items, one a line, fields separated by the
# character 0x1f: server, authtype, protocol, user, port (empty fields are left out).
# --bulk-keyring adds COUNT form passwords for www.site1.com, www.site2.com, ...
# (https, user alice), written as unencrypted keyring files before the keyring
# starts: storing thousands of items through the service takes minutes.
# --fake-keyring starts PROGRAM (the tests' own keyring service) in the
# keyring's place, with OPTIONS split into words as its arguments.
#
# Every process started here is ended before the script returns; nothing is
# written outside the home and the --out folder. Exit status 0 when COMMAND
# ran (whatever its own status), non-zero when the session could not be set up.
set -euo pipefail

readonly kKeyringPassword="tasselby-session"
readonly kServiceWait=10     # seconds a service gets to own its bus name
commandLimit=60              # seconds COMMAND may run (--command-limit)
readonly kNotifications="org.freedesktop.Notifications"
readonly kSecrets="org.freedesktop.secrets"
readonly kLoginCollection="/org/freedesktop/secrets/collection/login"

readonly kBulkItemsPerFile=100  # the keyring reads a file in time quadratic in its size

home="" work="" out="" notifications=1 keyring="" bulk=0 fake="" fakeOptions=() lock=0 monitor=0
original=("$@")
while (($#)); do
    case "$1" in
        --home) home=$2; shift 2 ;;
        --work) work=$2; shift 2 ;;
        --out) out=$2; shift 2 ;;
        --no-notifications) notifications=0; shift ;;
        --keyring) keyring=$2; shift 2 ;;
        --bulk-keyring) bulk=$2; shift 2 ;;
        --fake-keyring) fake=$2; read -ra fakeOptions <<<"$3"; shift 3 ;;
        --lock-keyring) lock=1; shift ;;
        --monitor) monitor=1; shift ;;
        --command-limit) commandLimit=$2; shift 2 ;;
        --) shift; break ;;
        *) echo "session.sh: unknown option $1" >&2; exit 2 ;;
    esac
done
if [[ -z $home || -z $work || -z $out || $# -eq 0 ]]; then
    echo "usage: session.sh --home DIR --work DIR --out DIR [options] -- COMMAND [ARG...]" >&2
    exit 2
fi
home=$(realpath "$home") work=$(realpath "$work")
mkdir -p "$out"
out=$(realpath "$out")

# Outside the bus: the environment must be in place before the bus starts,
# because whatever the bus starts inherits the bus's environment. The bus
# knows no service files, so nothing is ever started behind our back (an
# absent service answers ServiceUnknown at once).
if [[ -z ${TASSELBY_INSIDE_SESSION:-} ]]; then
    export HOME=$home
    export XDG_DATA_HOME=$home/.local/share XDG_CACHE_HOME=$home/.cache XDG_CONFIG_HOME=$home/.config
    unset DBUS_SESSION_BUS_ADDRESS DISPLAY WAYLAND_DISPLAY XDG_RUNTIME_DIR
    mkdir -p "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_CONFIG_HOME" "$out/no-services"
    cat >"$out/bus.conf" <<EOF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <servicedir>$out/no-services</servicedir>
  <!-- As on a desktop session bus: one connection may wait for many answers. -->
  <limit name="max_replies_per_connection">50000</limit>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
EOF
    TASSELBY_INSIDE_SESSION=1 exec dbus-run-session --config-file="$out/bus.conf" -- bash "$0" "${original[@]}"
fi

started=()
stopAll() {
    local pid tries
    for pid in "${started[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
    for pid in "${started[@]}"; do
        for ((tries = 0; tries < 50; tries++)); do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.1
        done
        kill -KILL "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
}
trap stopAll EXIT

waitForName() {
    if ! gdbus wait --session --timeout "$kServiceWait" "$1" >>"$out/services.log" 2>&1; then
        echo "session.sh: $1 did not appear on the bus" >&2
        cat "$out/services.log" >&2
        exit 3
    fi
}

: >"$out/services.log"

if ((monitor)); then
    dbus-monitor --session >"$out/bus.log" 2>>"$out/services.log" &
    started+=($!)
    # The monitor is listening once it has seen a signal sent after it started.
    for ((tries = 0; ; tries++)); do
        gdbus emit --session --object-path /org/tasselby/Session --signal org.tasselby.Session.MonitorReady >/dev/null
        grep -q MonitorReady "$out/bus.log" && break
        if ((tries == kServiceWait * 20)); then echo "session.sh: dbus-monitor did not start" >&2; exit 3; fi
        sleep 0.05
    done
fi

if ((notifications)); then
    /usr/bin/python3 -m dbusmock --template notification_daemon >>"$out/services.log" 2>&1 &
    started+=($!)
    waitForName "$kNotifications"
fi

if ((bulk)); then
    mkdir -p "$XDG_DATA_HOME/keyrings"
    awk -v count="$bulk" -v per="$kBulkItemsPerFile" -v folder="$XDG_DATA_HOME/keyrings" 'BEGIN {
        for (item = 1; item <= count; item++) {
            if ((item - 1) % per == 0) {
                if (file != "") close(file)
                file = sprintf("%s/bulk%d.keyring", folder, (item - 1) / per)
                printf "[keyring]\ndisplay-name=bulk\nctime=0\nmtime=0\nlock-on-idle=false\nlock-after=false\n" >file
            }
            printf "\n[%d]\nitem-type=2\ndisplay-name=www.site%d.com\nsecret=secret-%d\nmtime=0\nctime=0\n", item, item, item >file
            split("xdg:schema server authtype protocol user", names, " ")
            split("org.gnome.keyring.NetworkPassword www.site" item ".com form https alice", values, " ")
            for (index_ = 1; index_ <= 5; index_++)
                printf "\n[%d:attribute%d]\nname=%s\ntype=string\nvalue=%s\n", item, index_ - 1, names[index_], values[index_] >file
        }
    }'
    [[ -n $keyring ]] || keyring=/dev/null
fi

if [[ -n $fake ]]; then
    "$fake" "${fakeOptions[@]}" >>"$out/services.log" 2>&1 &
    started+=($!)
    waitForName "$kSecrets"
fi

if [[ -n $keyring ]]; then
    # A non-empty password on standard input creates the "login" keyring,
    # unlocked, as the default collection.
    printf %s "$kKeyringPassword" | gnome-keyring-daemon --foreground --unlock --components=secrets \
        >>"$out/services.log" 2>&1 &
    started+=($!)
    waitForName "$kSecrets"
    while IFS=$'\x1f' read -r server authtype protocol user port; do
        attributes=(xdg:schema org.gnome.keyring.NetworkPassword server "$server")
        [[ -n $authtype ]] && attributes+=(authtype "$authtype")
        [[ -n $protocol ]] && attributes+=(protocol "$protocol")
        [[ -n $user ]] && attributes+=(user "$user")
        [[ -n $port ]] && attributes+=(port "$port")
        printf %s "secret-for-$server" |
            timeout "$kServiceWait" secret-tool store --label="$server" "${attributes[@]}"
    done <"$keyring"
    if ((bulk)); then
        # Keyrings without a password open without a prompt, but only when asked.
        collections=()
        for ((file = 0; file * kBulkItemsPerFile < bulk; file++)); do
            collections+=("'/org/freedesktop/secrets/collection/bulk$file'")
        done
        timeout "$kServiceWait" gdbus call --session --dest "$kSecrets" --object-path /org/freedesktop/secrets \
            --method org.freedesktop.Secret.Service.Unlock "[$(IFS=,; echo "${collections[*]}")]" >/dev/null
    fi
    if ((lock)); then
        # secret-tool's own lock hangs here; the service's Lock method does not.
        timeout "$kServiceWait" gdbus call --session --dest "$kSecrets" --object-path /org/freedesktop/secrets \
            --method org.freedesktop.Secret.Service.Lock "['$kLoginCollection']" >>"$out/services.log"
    fi
fi

if ((monitor)); then
    # Marks where the command's own traffic begins in bus.log.
    gdbus emit --session --object-path /org/tasselby/Session --signal org.tasselby.Session.CommandStarting >/dev/null
fi

set +e
(cd "$work" && exec timeout --foreground --kill-after=5 "$commandLimit" "$@") \
    >"$out/stdout" 2>"$out/stderr" 0<&-
echo $? >"$out/status"
set -e

if ((notifications)); then
    # What the mock received, as JSON: one object per Notify call, in order.
    /usr/bin/python3 - "$kNotifications" >"$out/notifications.json" <<'EOF'
import json, sys
import dbus
mock = dbus.SessionBus().get_object(sys.argv[1], "/org/freedesktop/Notifications")
calls = mock.GetCalls(dbus_interface="org.freedesktop.DBus.Mock")
print(json.dumps([
    {"appName": str(args[0]), "summary": str(args[3]), "body": str(args[4]),
     "actions": [str(action) for action in args[5]], "expireTimeout": int(args[7])}
    for _, method, args in calls if method == "Notify"]))
EOF
else
    echo "[]" >"$out/notifications.json"
fi
