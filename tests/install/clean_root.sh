# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# What the tests of packages share. To be sourced behind scripts/lib.sh, with $source, the source tree, and $packages, the
# folder with the packages of this machine's processor.
# shellcheck disable=SC2154

skip() { echo "skipped: $1"; exit 77; }
fail() { echo "$(basename "$0" .sh): $1" >&2; exit 1; }

require_packages() {
  ls "$packages"/*.deb >/dev/null 2>&1 || skip "there are no packages (scripts/package makes them)"
  [ "$(id -u)" = 0 ] || skip "only root can install packages into a root"
}

names() { for file in "$packages"/*.deb; do dpkg-deb -f "$file" Package; done; }
installable() { names | grep -v -e '-dev$'; }  # compilers are not part of a clean root

# What the packages depend on besides one another, with commas between.
others_needed() {
  for file in "$packages"/*.deb; do dpkg-deb -f "$file" Depends | tr ',' '\n'; done |
    sed 's/([^)]*)//; s/|.*//; s/ //g' | grep -v -e '^lib*lumenar' -e '^lumenar' -e '-dev$' -e '^python3-lumenar' | sort -u | paste -s -d ,
}

# clean_root DIRECTORY [MIRROR]: a Debian 12 with what the packages depend on and the tests use, and without them. It is made once a week and
# kept in the build folder; several tests may ask for it at a time.
clean_root() {
  local directory=$1 mirror=${2:-} needed archive
  command -v mmdebstrap >/dev/null || skip "mmdebstrap is not there (scripts/install-deps package)"
  needed=systemd,openssh-server,openssh-client,$(others_needed)
  # shellcheck disable=SC2016
  [ -n "$mirror" ] ||
    mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 'Codename: bookworm' | sed -n 1p)
  archive=$source/build/clean-root-$(md5sum <<<"$needed $mirror" | cut -c 1-12).tar
  exec 8>"$source/build/clean-root.lock"
  flock 8
  if [ -z "$(find "$archive" -mtime -7 2>/dev/null)" ]; then
    rm -f "$source"/build/clean-root-*.tar
    step "$directory.log" mmdebstrap --variant=minbase --include="$needed" bookworm "$archive.new.tar" \
      "deb $mirror bookworm main" || { rm -f "$archive.new.tar"; skip "no clean root could be made: $(tail -n 1 "$directory.log")"; }
    mv "$archive.new.tar" "$archive"
  fi
  exec 8>&-
  mkdir -p "$directory"
  step "$directory.log" tar -x --numeric-owner -f "$archive" -C "$directory"
}

# development_tree DIRECTORY: the examples, built against what the packages lay down and nothing else of ours.
development_tree() {
  local file
  for file in "$packages"/liblumenar-*.deb; do dpkg-deb -x "$file" "$1/development"; done
  step "$1/configure.log" env -u CMAKE_PREFIX_PATH cmake -G Ninja -B "$1/examples" \
    -S "$1/development/usr/share/doc/lumenar/examples" -DCMAKE_PREFIX_PATH="$1/development/usr"
  step "$1/build.log" cmake --build "$1/examples"
}

# next_version VERSION DIRECTORY: the same packages under the version that follows.
next_version() {
  local old=$1 directory=$2 file tree=$2/tree
  mkdir -p "$directory"
  for file in "$packages"/*.deb; do
    rm -rf "$tree"
    dpkg-deb -R "$file" "$tree"
    sed -i "s/\b$old\b/$old+next/g" "$tree/DEBIAN/control"
    [ ! -e "$tree/DEBIAN/shlibs" ] || sed -i "s/\b$old\b/$old+next/g" "$tree/DEBIAN/shlibs"
    dpkg-deb -Z none -b "$tree" "$directory/$(dpkg-deb -f "$file" Package)_next_$(dpkg-deb -f "$file" Architecture).deb"
  done >"$directory.log"
  rm -rf "$tree"
}

# left ROOT: files of ours, but for logs and what the package manager remembers.
left() {
  find "$1" -xdev \( -path "$1/proc" -o -path "$1/dev" -o -path "$1/sys" -o -path "$1/tmp" -o -path "$1/var/log" \
    -o -path "$1/var/lib/dpkg" -o -path "$1/var/cache" -o -path "$1/packages" \) -prune -o -name '*lumenar*' -print
}
