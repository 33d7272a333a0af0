#!/usr/bin/env bash
# Makes a few sample files and shows the names Nomly would give them.
# Usage: scripts/demo.sh PATH/TO/nomly DEMO_FOLDER
set -euo pipefail

nomly=${1:-build/bin/nomly}
demo=${2:-build/demo}

rm -rf "$demo"
mkdir -p "$demo"
printf 'Quarterly report\nRevenue grew 12%%.\n' > "$demo/scan0001.txt"
printf 'Invoice INV-0042 from Acme Tools\nTotal due: 42.99 EUR\n' > "$demo/document (3).pdf"
printf 'fake image bytes\n' > "$demo/IMG_2231.JPG"
printf 'notes\n' > "$demo/untitled"
: > "$demo/NASA Launch Plan.txt"

now=2026-05-10T12:00:00Z
show() {
    echo
    local arg line='$ nomly preview'
    for arg in "$@"; do
        if [[ $arg =~ ^[A-Za-z0-9_./:=+-]+$ ]]; then line+=" $arg"; else line+=" '$arg'"; fi
    done
    echo "$line"

    "$nomly" preview "$@"
}

show --now "$now" --title "quarterly report" --pattern "{date} {title}" "$demo/scan0001.txt"
show --now "$now" --title "invoice acme tools" --vendor "Acme Tools" --amount 42.99 --currency EUR \
    --field invoice_number=INV-0042 --field "invoice_date=03/04/2026" \
    --pattern "{invoice_date}_{vendor}_{invoice_number}_{total_amount}{currency}" --style snake \
    "$demo/document (3).pdf"
show --now "$now" --title "sunset over the harbour" --pattern "{year}-{month} {title} {EXTENSION}" \
    --style kebab "$demo/IMG_2231.JPG"
show --now "$now" --title "meeting notes" --style pascal "$demo/untitled"
show --now "$now" --title "NASA launch plan" "$demo/NASA Launch Plan.txt" "$demo/scan0001.txt"
show --json --now "$now" --title "quarterly report" "$demo/scan0001.txt"

# Renaming for real, in a profile of the demo's own so that the user's own
# history stays as it is. The template reads only what the files say of
# themselves, so no AI is asked and no account or key is needed.
profile="$demo/profile"
mkdir -p "$profile"
export HOME="$profile" XDG_DATA_HOME="$profile/data" XDG_CONFIG_HOME="$profile/config" XDG_CACHE_HOME="$profile/cache"
unset DBUS_SESSION_BUS_ADDRESS

files="$demo/to-rename"
mkdir -p "$files/photos"
if command -v ffmpeg > /dev/null; then
    ffmpeg -loglevel error -f lavfi -i "testsrc=size=640x480:duration=1" -frames:v 1 "$files/photos/DSC_0001.jpg"
    ffmpeg -loglevel error -f lavfi -i "smptebars=size=1280x720:duration=1" -frames:v 1 "$files/photos/DSC_0002.jpg"
    ffmpeg -loglevel error -f lavfi -i "sine=frequency=440:duration=2" \
        -metadata title="Harbour Bells" -metadata artist="Demo Band" "$files/track01.mp3"
fi
printf 'Minutes of the harbour committee\nAttendees: Ana, Tomas\n' > "$files/notes.txt"

run() {
    echo
    echo "\$ nomly $*"
    "$nomly" "$@"
}

run consent --agree
run rename --pattern "{original} {kind} {resolution}" "$files"
run history
run undo --last-run
echo
ls -R "$files"

# With a key in the environment (NOMLY_OPENAI_API_KEY, NOMLY_GEMINI_API_KEY,
# NOMLY_ANTHROPIC_API_KEY, NOMLY_GROQ_API_KEY) or Ollama on this machine, one
# file is also named by the AI.
if env | grep -qE '^NOMLY_(OPENAI|GEMINI|ANTHROPIC|GROQ)_API_KEY=.'; then
    run rename "$files/notes.txt"
elif command -v curl > /dev/null && curl -fsS --max-time 2 http://127.0.0.1:11434/api/tags > /dev/null 2>&1; then
    run rename --mode local "$files/notes.txt"
else
    echo
    echo "Set NOMLY_OPENAI_API_KEY (or start Ollama) and run 'make demo' again to see a name the AI gives."
fi
