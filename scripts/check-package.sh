#!/usr/bin/env bash
# Builds the Debian package from a configured build folder and checks it:
# both programs, both manual pages and both systemd user units are in it;
# its dependencies were computed; the manual pages render without warnings;
# systemd accepts the units where systemd is installed.
#
#   bash scripts/check-package.sh [BUILD_FOLDER]      (default: build)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:-build}

fail() { echo "check-package: $*" >&2; exit 1; }

log=$(mktemp "${TMPDIR:-/tmp}/tasselby-cpack-XXXXXX")
(cd "$build" && cpack -G DEB) >"$log" 2>&1 || { cat "$log" >&2; rm -f "$log"; fail "cpack failed"; }
rm -f "$log"
package=$(ls -t "$build"/tasselby_*.deb | head -n 1)
echo "== $package"

contents=$(dpkg-deb -c "$package")
for item in ./usr/bin/tasselby-worker ./usr/bin/tasselby-defaults \
    ./usr/share/man/man1/tasselby-worker.1 ./usr/share/man/man1/tasselby-defaults.1 \
    ./usr/lib/systemd/user/tasselby@.service ./usr/lib/systemd/user/tasselby@.timer; do
    grep -qF " $item" <<<"$contents" || fail "$item is missing from the package"
done
depends=$(dpkg-deb -f "$package" Depends)
[[ $depends == *libplist* && $depends == *libglib2.0* ]] || fail "dependencies were not computed: '$depends'"
echo "Depends: $depends"

unpacked=$(mktemp -d "${TMPDIR:-/tmp}/tasselby-package-XXXXXX")
trap 'rm -rf "$unpacked"' EXIT
dpkg-deb -x "$package" "$unpacked"

for page in tasselby-worker tasselby-defaults; do
    warnings=$(MANWIDTH=80 man -l --warnings "$unpacked/usr/share/man/man1/$page.1" 2>&1 >/dev/null)
    [[ -z $warnings ]] || fail "man $page warns: $warnings"
done
echo "manual pages render without warnings"

service="$unpacked/usr/lib/systemd/user/tasselby@.service"
grep -qx 'ExecStart=/usr/bin/tasselby-worker --layout=linux "%I"' "$service" || fail "unexpected ExecStart in $service"
if command -v systemd-analyze >/dev/null; then
    # A throwaway unit search path holding an instance of each unit, with the
    # worker where the service names it.
    # A user manager needs a runtime folder; a throwaway one serves.
    units="$unpacked/units"
    mkdir -p "$units" "$unpacked/runtime"
    sed "s|/usr/bin/tasselby-worker|$unpacked/usr/bin/tasselby-worker|" "$service" >"$units/tasselby@.service"
    cp "$unpacked/usr/lib/systemd/user/tasselby@.timer" "$units/"
    # Unknown keys are only warned about, so any output counts as a failure.
    if ! verdict=$(XDG_RUNTIME_DIR="$unpacked/runtime" SYSTEMD_UNIT_PATH="$units:" systemd-analyze --user verify \
        --man=no "$units/tasselby@Google\\x20Chrome.service" "$units/tasselby@Chromium.timer" 2>&1) ||
        [[ -n $verdict ]]; then
        fail "systemd-analyze rejects the units: $verdict"
    fi
    echo "systemd-analyze accepts the units"
else
    echo "systemd-analyze is not installed: units not verified"
fi
