#!/bin/sh
# Runs once the payload is in place and the actions have run.
say() { printf '%s' "$1" | xclip -selection clipboard 2>/dev/null; }

say OstrelWait
sleep 1
say "OstrelDone:ActionsApp is installed in $(dirname "$0")."
