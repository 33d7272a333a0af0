#!/bin/bash
# Installs the file-manager actions of quick rename into a temporary prefix and
# checks that each lands where its file manager looks, is well-formed, and
# hands the selected files, whole, to `nomly quick`.
#
# Usage: filemanageractions.sh CMAKE BUILD_DIR CONFIGURED_BINDIR
set -euo pipefail

cmake=$1
build=$2
bindir=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
failures=0

fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

"$cmake" --install "$build" --component filemanager --prefix "$prefix" >/dev/null

script="$prefix/share/nomly/nautilus-scripts/Rename with Nomly"
servicemenu=$prefix/share/kio/servicemenus/nomly-quick-rename.desktop
nemoaction=$prefix/share/nemo/actions/nomly-quick-rename.nemo_action
thunaraction=$prefix/share/nomly/thunar/rename-with-nomly.xml

# Where each lands, and what must be executable to be used at all.
for file in "$script" "$servicemenu" "$nemoaction" "$thunaraction"; do
    [[ -f $file ]] || fail "not installed: $file"
done
[[ -x $script ]] || fail "the Nautilus script is not executable"
[[ -x $servicemenu ]] || fail "the Dolphin service menu is not executable"

# Well-formed, each by its own rules.
bash -n "$script" || fail "the Nautilus script does not parse"
if command -v desktop-file-validate >/dev/null; then
    # The checker holds Actions and MimeType to an application's rules, and
    # knows no "all/allfiles"; those are what Dolphin reads. Anything else
    # must pass.
    report=$(desktop-file-validate "$servicemenu" 2>&1 \
        | grep -v -e 'but the type is "Service"' -e 'contains value "all/allfiles"' || true)
    [[ -z $report ]] || fail "service menu: $report"
fi
if command -v xmllint >/dev/null; then
    xmllint --noout "$thunaraction" || fail "the Thunar action is not well-formed"
fi

# Each action runs the nomly this build installs, with every selected path.
expected_exec="$bindir/nomly quick %F"
grep -qxF "Exec=$expected_exec" "$servicemenu" || fail "service menu Exec is not: $expected_exec"
grep -qxF "Exec=$expected_exec" "$nemoaction" || fail "Nemo Exec is not: $expected_exec"
grep -qF "<command>$expected_exec</command>" "$thunaraction" || fail "Thunar command is not: $expected_exec"
grep -qxF "Selection=notnone" "$nemoaction" || fail "Nemo action is not offered for any selection"
grep -qxF "Extensions=any;" "$nemoaction" || fail "Nemo action is limited to some extensions"
# Nemo pastes paths into Exec as they are; unquoted, a space splits one.
grep -qxF "Quote=double" "$nemoaction" || fail "Nemo paths are not quoted"

# The Nautilus script, run as Nautilus runs it: through a link in the user's
# scripts folder, against a recorder in place of the prefix's nomly.
mkdir -p "$prefix/bin" "$work/home/.local/share/nautilus/scripts"
cat >"$prefix/bin/nomly" <<RECORDER
#!/bin/bash
printf '%s\n' "\$@" >"$work/arguments"
RECORDER
chmod +x "$prefix/bin/nomly"
link="$work/home/.local/share/nautilus/scripts/Rename with Nomly"
ln -s "$script" "$link"

expect_arguments() {
    local what=$1
    shift
    local expected
    expected=$(printf '%s\n' "$@")
    if [[ ! -f $work/arguments ]]; then
        fail "$what: nomly was not called"
    elif [[ $(<"$work/arguments") != "$expected" ]]; then
        fail "$what: nomly got [$(<"$work/arguments")], not [$expected]"
    fi
    rm -f "$work/arguments"
}

first="/home/ana/Scans 2024/Q3  report (final).pdf"
second="/home/ana/Desktop/photo 1's copy.jpg"
(cd "$work/home" && NAUTILUS_SCRIPT_SELECTED_FILE_PATHS="$first"$'\n'"$second"$'\n' "$link" ignored-name)
expect_arguments "selection from Nautilus" quick "$first" "$second"
(cd "$work/home" && env -u NAUTILUS_SCRIPT_SELECTED_FILE_PATHS "$link" "$first" "$second")
expect_arguments "selection as arguments" quick "$first" "$second"

# The README's merge of the Thunar action into a user's uca.xml keeps the
# user's actions, adds ours once, and leaves a file Thunar can read.
uca=$work/home/.config/Thunar/uca.xml
mkdir -p "$(dirname "$uca")"
cat >"$uca" <<'UCA'
<?xml version="1.0" encoding="UTF-8"?>
<actions>
<action>
	<icon>utilities-terminal</icon>
	<name>Open Terminal Here</name>
	<unique-id>1-1</unique-id>
	<command>exo-open --working-directory %f --launch TerminalEmulator</command>
	<patterns>*</patterns>
	<directories/>
</action>
</actions>
UCA
for _ in 1 2; do
    grep -q nomly-quick-rename "$uca" || sed -i "\\|</actions>|e cat '$thunaraction'" "$uca"
done
[[ $(grep -c '<unique-id>' "$uca") == 2 ]] || fail "the merged uca.xml does not hold both actions once"
tail -n 1 "$uca" | grep -qx '</actions>' || fail "the merged uca.xml does not end with </actions>"
if command -v xmllint >/dev/null; then
    xmllint --noout "$uca" || fail "the merged uca.xml is not well-formed"
fi

if ((failures > 0)); then
    exit 1
fi
echo "file-manager actions: all checks passed"
