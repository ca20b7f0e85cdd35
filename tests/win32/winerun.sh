#!/bin/sh
# Runs one test program under Wine. Wine's server quits a few seconds after its
# last client; a program that connects at that moment is reset before it runs
# a line of its own ("wine client error"). Only that is retried.
out=$(mktemp) || exit 1
trap 'rm -f "$out"' EXIT
for attempt in 1 2 3; do
    "$@" >"$out" 2>&1
    rc=$?
    if [ "$rc" -eq 0 ] || ! grep -q "^wine client error" "$out"; then
        break
    fi
    echo "winerun: Wine's server went away at start-up (attempt $attempt), running again" >&2
    sleep 2
done
cat "$out"
exit "$rc"
