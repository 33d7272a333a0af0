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
