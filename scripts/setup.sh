#!/usr/bin/env bash
# Installs what a job needs on a Debian machine, unless it is there already. Called by run and test.
#
#   scripts/setup.sh run       a native release build
#   scripts/setup.sh native    and the native tests
#   scripts/setup.sh all       and the Windows build, Wine, a browser, packages, fuzzers, formatting and linting
set -euo pipefail

run=(g++ cmake python3 ninja-build libtinyxml2-dev libboost-dev libjs-chart.js nlohmann-json3-dev libcli11-dev libfmt-dev)
native=(ccache mold libgtest-dev libgmock-dev libbenchmark-dev)
all=(
  clang libclang-rt-dev clang-format clang-tidy
  g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 dpkg-dev
  chromium chromium-driver python3-selenium
  nsis file lintian
)

case "${1:-all}" in
  run) packages=("${run[@]}") ;;
  native) packages=("${run[@]}" "${native[@]}") ;;
  all) packages=("${run[@]}" "${native[@]}" "${all[@]}") ;;
  *) sed -n '2,6s/^# *//p' "$0" >&2; exit 2 ;;
esac

find_missing() {
  missing=()
  local package
  for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
  done
}

find_missing
[ ${#missing[@]} -eq 0 ] && exit 0

# One installation at a time; who had to wait finds less missing, or nothing.
exec 9</var/lib/dpkg
flock 9
find_missing
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
echo "Installing ${#missing[@]} packages: ${missing[*]} ..." >&2
apt=("${sudo[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=600)
# Others may be at it too. The package manager waits for their installing, but not for their updating.
attempts=120
until errors=$("${apt[@]}" update 2>&1 9<&-); do
  attempts=$((attempts - 1))
  if [ $attempts -eq 0 ] || [[ $errors != *"Could not get lock"* ]]; then
    echo "$errors" >&2
    exit 1
  fi
  sleep 5
done
"${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null 9<&-
echo "Installed after $SECONDS s." >&2
