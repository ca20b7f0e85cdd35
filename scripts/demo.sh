#!/usr/bin/env bash
# Builds Callwarden Administrator and runs it on a demo network: installs what
# is missing, builds Release into build-release/, writes the demo site on the
# first run, starts the simulated Callwarden service with live dial-in traffic,
# then the console. The simulated service stops when the console exits.
#
# The site is $CWADMIN_SITE, else $XDG_DATA_HOME/callwarden/site, else
# ~/.local/share/callwarden/site. Without a display the console runs under
# xvfb-run and saves pictures of its main windows into screenshots/.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build="$here/build-release"

if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
    headless=1
else
    headless=0
fi

if ((headless)); then
    "$here/scripts/deps.sh" --gui
else
    "$here/scripts/deps.sh"
fi
"$here/scripts/build.sh" "$build" Release -DCW_BUILD_TESTS=OFF

if [[ -n "${CWADMIN_SITE:-}" ]]; then
    site=$CWADMIN_SITE
elif [[ "${XDG_DATA_HOME:-}" == /* ]]; then
    site=$XDG_DATA_HOME/callwarden/site
else
    site=$HOME/.local/share/callwarden/site
fi

if [[ ! -e "$site/site.ini" ]]; then
    "$build/bin/cwsite" init "$site"
    echo
else
    echo "Using the site in $site"
fi

# The simulated Callwarden service of every server, with six dial-ins a minute.
serve_log="$build/cwsite-serve.log"
"$build/bin/cwsite" serve "$site" --rate 6 >"$serve_log" 2>&1 &
serve_pid=$!
stop_service() {
    if kill -0 "$serve_pid" 2>/dev/null; then
        kill -TERM "$serve_pid" 2>/dev/null || true
        wait "$serve_pid" 2>/dev/null || true
        echo "Stopped the simulated Callwarden service."
    fi
}
trap stop_service EXIT
trap 'exit 130' INT TERM

# Let the service open its pipes before the console first asks.
for _ in $(seq 50); do
    kill -0 "$serve_pid" 2>/dev/null || break
    compgen -G "$site/run/*.cwsvcpipe" >/dev/null && break
    sleep 0.1
done
if ! kill -0 "$serve_pid" 2>/dev/null; then
    echo "The simulated Callwarden service did not start:" >&2
    cat "$serve_log" >&2
    if ! grep -q "already answering" "$serve_log"; then
        exit 1
    fi
    echo "Going on with the cwsite serve that is already running." >&2
else
    echo "Simulated Callwarden service running (log: $serve_log)."
fi

if ((headless)); then
    shots="$here/screenshots"
    mkdir -p "$shots"
    echo "No display: running the console under xvfb-run to take pictures of its windows."
    xvfb-run -a -s "-screen 0 1280x900x24" "$build/bin/cwadmin" --site "$site" --screenshots "$shots"
    echo "Pictures of the console are in $shots"
else
    "$build/bin/cwadmin" --site "$site"
fi
