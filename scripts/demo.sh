#!/usr/bin/env bash
# Builds the worker, makes a sample home with data for every browser, shows
# what a run for one browser would remove (a dry run), then runs the worker on
# it inside a private session bus with a notification service, and shows the
# notification it posted and the files it removed.
#
#   bash scripts/demo.sh [BROWSER]      (default: "Google Chrome")
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
browser=${1:-Google Chrome}

bash scripts/install-deps.sh
cmake -S . -B build -DTASSELBY_WERROR=ON >/dev/null
cmake --build build -j"$(nproc)" --target tasselby-worker make_sample_home >/dev/null

demo=$(mktemp -d "${TMPDIR:-/tmp}/tasselby-demo-XXXXXX")
trap 'rm -rf "$demo"' EXIT
mkdir -p "$demo/home" "$demo/work" "$demo/system"
build/make_sample_home "$demo/home" "$demo/system"

# The home's files, leaving out the folders the session's own services use.
listFiles() {
    (cd "$demo/home" && find . -type f -not -path './.cache/*' -not -path './.config/*' -not -path './.local/*' |
        sed 's|^\./||' | LC_ALL=C sort)
}

echo "== Sample home $demo/home"
listFiles | tee "$demo/before"

echo
echo "== tasselby-worker --dry-run \"$browser\"   (what a run would remove; nothing is touched)"
if ! bash tests/integration/session.sh --home "$demo/home" --work "$demo/work" --out "$demo/preview" -- \
    "$PWD/build/tasselby-worker" --system-root="$demo/system" --dry-run "$browser" 2>"$demo/session.log"; then
    cat "$demo/session.log" >&2
    exit 1
fi
cat "$demo/preview/stdout" "$demo/preview/stderr"
listFiles | cmp -s - "$demo/before" && echo "(the sample home is unchanged)"

echo
echo "== tasselby-worker \"$browser\""
# The bus daemon's own chatter goes to a log, shown only when the session fails.
if ! bash tests/integration/session.sh --home "$demo/home" --work "$demo/work" --out "$demo/session" -- \
    "$PWD/build/tasselby-worker" --system-root="$demo/system" "$browser" 2>"$demo/session.log"; then
    cat "$demo/session.log" >&2
    exit 1
fi
echo "exit status $(cat "$demo/session/status")"
cat "$demo/session/stdout" "$demo/session/stderr"

echo
echo "== Notification posted"
/usr/bin/python3 - "$demo/session/notifications.json" <<'PY'
import json, sys
posted = json.load(open(sys.argv[1]))
for notification in posted:
    print("summary:", notification["summary"])
    print("body:   ", notification["body"])
if not posted:
    print("(none)")
PY

echo
echo "== Files removed"
listFiles >"$demo/after"
removed=$(comm -23 "$demo/before" "$demo/after")
echo "${removed:-(none)}"
