#!/usr/bin/env bash
# Installs the packages in a Debian 12 that has nothing else, uses them as their users would, and removes
# them: test_packages.sh FOLDER_OF_PACKAGES SCRATCH_FOLDER. Needs root, debootstrap and a mirror.
set -Eeuo pipefail
packages="$(realpath "$1")"
mkdir -p "$2"
scratch="$(realpath "$2")"
source="$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")"
base="$scratch/base" root="$scratch/root"
mirror="${MORVEX_DEBIAN_MIRROR:-http://deb.debian.org/debian}"
names=(libmorvex1 libmorvex-ensg7 libmorvex-dev morvex python3-morvex morvex-paraview)

fail() {
  echo "$*" >&2
  exit 1
}
((EUID == 0)) || fail "a Debian of its own can be made by root alone"
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 "$@"; }
apt() {
  inside DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends "$@" \
    >"$scratch/apt.log" 2>&1 || fail "apt-get $*: $(tail -5 "$scratch/apt.log")"
}
install_all() { apt install "${@/#//packages/}"; }

cd "$packages"
for name in "${names[@]}"; do
  compgen -G "${name}_*.deb" >/dev/null || fail "there is no package $name"
done
files=(*.deb)
[[ "${#files[@]}" == "${#names[@]}" ]] || fail "unexpected packages: ${files[*]}"
# Two packages with one file can't be installed together.
twice="$(for deb in *.deb; do dpkg-deb --fsys-tarfile "$deb" | tar -t | grep -v '/$'; done |
  sort | uniq -d)"
[[ -z "$twice" ]] || fail "in two packages: $twice"
lintian --fail-on error,warning --suppress-tags-from-file "$source/tests/packages/lintian_suppressed" \
  *.deb

# The base is made once; each run has a copy.
if [[ ! -e "$base/.complete" ]]; then
  rm -rf "$base"
  debootstrap --variant=minbase bookworm "$base" "$mirror" >"$scratch/debootstrap.log" ||
    fail "debootstrap: $(tail -3 "$scratch/debootstrap.log")"
  touch "$base/.complete"
fi
rm -rf "$root"
cp -a "$base" "$root"
mkdir "$root/packages" "$root/trial"
cp *.deb "$root/packages"
cp -r "$source/examples" "$root/trial"
apt update

echo "== the program alone"
install_all libmorvex1_*.deb morvex_*.deb
inside morvex sample /trial/crash.mvx --nodes 500 --steps 2
inside morvex info /trial/crash.mvx | grep -q tube
inside morvex verify -q /trial/crash.mvx >/dev/null
inside morvex thumb /trial/crash.mvx -o /trial/crash.png --size 160x120
[[ "$(head -c 4 "$root/trial/crash.png" | tail -c 3)" == PNG ]]
gzip -dc "$root/usr/share/man/man1/morvex.1.gz" | grep -q '^\.SH SYNOPSIS'
gzip -dc "$root/usr/share/man/man1/morvex-thumb.1.gz" | grep -q focus

echo "== hosts in C and C++, by CMake and pkg-config"
install_all libmorvex-*.deb
apt install cmake make g++ pkg-config
cat >"$root/trial/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES C CXX)
find_package(morvex 7.0 REQUIRED)
set(CMAKE_CXX_STANDARD 17)
add_executable(read examples/read.cpp)
target_link_libraries(read PRIVATE morvex::morvex)
add_executable(first_array examples/first_array.cpp)
target_link_libraries(first_array PRIVATE morvex::ensg)
END
inside sh -ec 'cd /trial && cmake -S . -B build >/dev/null && cmake --build build >/dev/null
  build/read crash.mvx displacement | grep -q "^tube: "
  build/first_array crash.mvx | grep -q "^-*[0-9]"
  cc -std=c99 examples/host.c -o host $(pkg-config --cflags --libs morvex)
  ./host crash.mvx displacement | grep -q "^step 1: "
  c++ -std=c++17 examples/first_array.cpp -o first $(pkg-config --cflags --libs morvex-ensg)
  test "$(./first crash.mvx)" = "$(build/first_array crash.mvx)"
  test -f /usr/share/doc/libmorvex-dev/docs/libmorvex.md'

echo "== Python and the reader for ParaView, in plain VTK"
install_all python3-morvex_*.deb
inside python3 -c "
import morvex
with morvex.open('/trial/crash.mvx') as case:
    assert case.parts['tube'].coordinates(-1).shape[1] == 3, case
    assert case['stress'].read(step=-1)['block'].size > 0"
apt install python3-vtk9
install_all morvex-paraview_*.deb
inside python3 -c "
import sys
sys.path.append('/usr/share/morvex/paraview')
from morvex_reader import MorvexReader
reader = MorvexReader()
reader.SetFileName('/trial/crash.mvx')
reader.Update()
grid = reader.GetOutputDataObject(0)
assert grid.GetNumberOfPoints() > 400, grid"

echo "== checking and removing"
for name in "${names[@]}"; do
  inside dpkg --verify "$name"
done
installed="$(inside dpkg -L "${names[@]}" | sort -u)"
apt purge "${names[@]}"
left="$(while read -r file; do
  [[ ! -f "$root$file" && ! -L "$root$file" ]] || echo "$file"
done <<<"$installed")"
[[ -z "$left" ]] || fail "left after the packages are removed: $left"
strays="$(cd "$root" && find usr etc -name '*morvex*' -print)"
[[ -z "$strays" ]] || fail "left after the packages are removed: $strays"
rm -rf "$root"
echo "The packages can be installed, used and removed."
