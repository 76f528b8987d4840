#!/usr/bin/env bash
# Installs the build tree with DESTDIR, moves the installed prefix elsewhere and runs
# the installed command line from there: every file lands where a Linux desktop and
# shell look for it, the programs find their data beside themselves (not in the build
# tree), no installed file names the build tree, and the desktop files pass their
# validators when those are installed.
# Usage: install_tree_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
source_dir=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

DESTDIR="$work/stage" cmake --install "$build" --prefix /opt/shelfwise >/dev/null
root="$work/stage/opt/shelfwise"
app=org.korvalt.Shelfwise

expected=(
  bin/Shelfwise bin/shelfwise-cli
  share/shelfwise/empty.db3 share/shelfwise/test.db3 share/shelfwise/Updates/1.0.sql
  share/shelfwise/Updates/1.1.sql
  share/shelfwise/help/index.html
  "share/applications/$app.desktop" "share/metainfo/$app.metainfo.xml"
  share/mime/packages/shelfwise.xml "share/icons/hicolor/scalable/apps/$app.svg"
  share/man/man1/shelfwise-cli.1.gz share/man/man1/Shelfwise.1.gz
  share/bash-completion/completions/shelfwise-cli
  share/doc/shelfwise/copyright share/doc/shelfwise/changelog.gz
)
for size in 16 22 24 32 48 64 128 256; do
  expected+=("share/icons/hicolor/${size}x${size}/apps/$app.png")
done
for file in "${expected[@]}"; do
  [ -f "$root/$file" ] || fail "not installed: $file"
done
for program in bin/Shelfwise bin/shelfwise-cli; do
  [ -x "$root/$program" ] || fail "not executable: $program"
done
# Nothing of the test and build tools is installed.
unexpected=$(cd "$root" && find . -type f | grep -E 'tests|bench|mkdb|mkdocs|fakedrives' || true)
[ -z "$unexpected" ] || fail "installed by mistake: $unexpected"

# No installed file, binaries included, holds the build or source folder.
for folder in "$build" "$source_dir"; do
  holders=$(grep -rlaF "$folder" "$root" || true)
  [ -z "$holders" ] || fail "names $folder: $holders"
done

# Moved elsewhere, the programs still find their data relative to themselves. The
# installed sample catalogue gets a storage the build tree's copy lacks, so the copy in
# the settings folder shows which one was used.
moved="$work/elsewhere/prefix"
mkdir -p "$work/elsewhere"
mv "$root" "$moved"
sqlite3 "$moved/share/shelfwise/test.db3" \
  "INSERT INTO Storages (StorageName) VALUES ('Installed copy')"
settings="$work/settings"
cli=("$moved/bin/shelfwise-cli" --settings-dir "$settings")
version=$("${cli[@]}" --version)
[[ "$version" == "shelfwise-cli "* ]] || fail "--version printed: $version"
"${cli[@]}" new "$work/new.db3" >/dev/null || fail "new failed"
[ -f "$work/new.db3" ] || fail "new wrote no catalogue"
[ -f "$settings/Updates/1.1.sql" ] || fail "upgrade scripts not copied to the settings folder"
"${cli[@]}" storages "$settings/test.db3" | grep -q $'\tInstalled copy\t' ||
  fail "the sample catalogue did not come from the installed data folder"
"${cli[@]}" check "$settings/test.db3" >/dev/null || fail "check of the sample catalogue failed"

# The desktop files, where the validators are installed (scripts/bootstrap installs
# them; scripts/package-check always runs them).
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$moved/share/applications/$app.desktop" || fail "desktop entry"
fi
if command -v appstreamcli >/dev/null; then
  appstreamcli validate --no-net "$moved/share/metainfo/$app.metainfo.xml" >/dev/null ||
    fail "AppStream data: $(appstreamcli validate --no-net "$moved/share/metainfo/$app.metainfo.xml")"
fi
# The newest release comes first.
release=$(sed -n '/<release version=/{s/.*<release version="\([^"]*\)".*/\1/p;q}' "$moved/share/metainfo/$app.metainfo.xml")
[ "shelfwise-cli $release" = "$version" ] || fail "AppStream release $release, program $version"
changelog=$(zcat "$moved/share/doc/shelfwise/changelog.gz" | sed -n '1s/^shelfwise (\([^)]*\)).*/\1/p')
[ "shelfwise-cli $changelog" = "$version" ] || fail "changelog version $changelog, program $version"

[ "$failures" -eq 0 ] && echo "install tree: all checks passed"
exit "$failures"
