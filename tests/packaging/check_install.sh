#!/usr/bin/env bash
# Installs a build into a scratch prefix and, when cpack and dpkg-deb are at hand, builds the
# .deb and unpacks it. Each tree must hold the programs, the menu entry with its icon, the
# metainfo and the user services (ExecStart on the installed program), and every program must
# answer --version and --help from there.
#   check_install.sh BUILD_DIR VERSION "PROGRAM..."
set -euo pipefail

build=$1
version=$2
read -r -a programs <<<"$3"
app_id=com.velmar.VelmarOS
services=(lumen-api mintbridge)

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

# $1: the tree on disk; $2: the prefix its files were installed for.
check_tree() {
  local root=$1 prefix=$2 name out
  echo "== $root (installed for $prefix)"
  for name in "${programs[@]}"; do
    if [ ! -x "$root/bin/$name" ]; then fail "bin/$name missing"; continue; fi
    out=$("$root/bin/$name" --version 2>&1) || fail "$name --version exited with $?"
    [ "$out" = "$name $version" ] || fail "$name --version said: $out"
    "$root/bin/$name" --help >"$scratch/help.txt" 2>&1 || fail "$name --help exited with $?"
    [ -s "$scratch/help.txt" ] || fail "$name --help printed nothing"
  done

  if [[ " ${programs[*]} " == *" velmaros "* ]]; then
    local desktop=$root/share/applications/$app_id.desktop
    local metainfo=$root/share/metainfo/$app_id.metainfo.xml
    [ -f "$root/share/icons/hicolor/scalable/apps/$app_id.svg" ] || fail "hicolor icon missing"
    if [ -f "$desktop" ]; then
      grep -qx "Exec=velmaros" "$desktop" || fail "desktop entry does not start velmaros"
      grep -qx "Icon=$app_id" "$desktop" || fail "desktop entry names another icon"
      if command -v desktop-file-validate >/dev/null; then
        desktop-file-validate "$desktop" || fail "desktop-file-validate refused the entry"
      fi
    else
      fail "desktop entry missing"
    fi
    if [ -f "$metainfo" ]; then
      grep -q "<release version=\"$version\"" "$metainfo" || fail "metainfo lacks release $version"
      if command -v appstreamcli >/dev/null; then
        appstreamcli validate --no-net "$metainfo" >"$scratch/as.txt" 2>&1 \
          || { cat "$scratch/as.txt" >&2; fail "appstreamcli refused the metainfo"; }
      fi
    else
      fail "metainfo missing"
    fi
  fi

  local service unit exec_path
  for service in "${services[@]}"; do
    unit=$root/share/systemd/user/$service.service
    if [ ! -f "$unit" ]; then fail "user unit $service.service missing"; continue; fi
    exec_path=$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$unit")
    [ "$exec_path" = "$prefix/bin/$service" ] || fail "$service.service starts $exec_path"
    grep -q -- "--data-dir" "$unit" && fail "$service.service pins its data outside the XDG folders"
    grep -qx "WantedBy=default.target" "$unit" || fail "$service.service cannot be enabled"
  done
  [ -f "$root/share/doc/velmaros/copyright" ] || fail "copyright missing"
}

prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >"$scratch/install.log" || { cat "$scratch/install.log" >&2; exit 1; }
check_tree "$prefix" "$prefix"

if command -v cpack >/dev/null && command -v dpkg-deb >/dev/null && command -v dpkg-shlibdeps >/dev/null; then
  (cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/deb" >"$scratch/cpack.log" 2>&1) \
    || { cat "$scratch/cpack.log" >&2; exit 1; }
  deb=$(ls "$scratch"/deb/velmaros_*.deb)
  dpkg-deb -x "$deb" "$scratch/root"
  check_tree "$scratch/root/usr" /usr
  depends=$(dpkg-deb -f "$deb" Depends)
  # Computed from the binaries: the Qt core library is never in the hand-written part.
  [[ $depends == *libqt6core6* ]] || fail "Depends was not computed from the libraries: $depends"
  [[ $depends == *qml6-module-qtquick-controls* ]] || fail "Depends lacks the QML modules: $depends"
  dpkg-deb -f "$deb" Description | grep -q "桌面程序" || fail "Description has no Chinese"
  echo "== $(basename "$deb"): $(du -k "$deb" | cut -f1) KiB"
else
  echo "cpack, dpkg-deb or dpkg-shlibdeps missing: the .deb is not checked"
fi

[ "$failures" -eq 0 ] || { echo "$failures problem(s)" >&2; exit 1; }
echo "install checks passed"
