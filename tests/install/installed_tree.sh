#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The installed tree, moved away from where it was installed: every program runs, and a client and an instrument are built
# against it and run with it as the pages say, with CMake and with pkg-config. Usage: installed_tree.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1 build=$2
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
# shellcheck source=tests/install/pages.sh
. "$source/tests/install/pages.sh"
clean_up_at_end
make_private_directory lumenar-install
work=$private_directory
tree=$work/moved

fail() { echo "$1" >&2; exit 1; }
run() {
  local program=$1
  shift
  "$tree/bin/$program" "$@"
}

install_and_move() {
  step "$work/install.log" cmake --install "$build" --prefix "$work/first"
  mv "$work/first" "$tree"
}

# Nothing in the tree knows where it came from.
look_for_old_places() {
  local places
  places=$(grep -r -l -I -F -e "$work/first" -e "$build" -e "$source" "$tree" || true)
  [ -z "$places" ] || fail "old places stand in: $places"
  local file
  for file in "$tree"/bin/* "$tree"/lib/*.so.?; do
    # shellcheck disable=SC2016
    ! readelf -d "$file" | grep -E 'R(UN)?PATH' | grep -v '\[\$ORIGIN[^:]*\]' || fail "run path of $file"
    ! ldd "$file" | grep -E 'not found' || fail "$file lacks a library"
  done
}

every_program_explains_itself() {
  local version program library
  version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$source/CMakeLists.txt")
  for program in engine_host topic_manager hw_enumeration mathctl math_web; do
    [ "$(run "$program" --version)" = "$program $version" ] || fail "$program --version"
    run "$program" --help | grep -e --version >/dev/null || fail "$program --help"
  done
  for library in liblumenar_signals liblumenar_client; do
    [ -e "$tree/lib/$library.so.${version%%.*}" ] || fail "name of $library"
  done
  [ ! -e "$tree/lib/liblumenar_client.a" ] || fail "the client library is there twice"
  [ "$(PKG_CONFIG_PATH=$tree/lib/pkgconfig pkg-config --modversion lumenar-client)" = "$version" ] || fail "lumenar-client.pc"
}

# words PATTERN PROGRAM: what of a program's help fits.
words() { run "$2" --help | grep -o -E -e "$1" | sort -u; }

# Each program has a manual page, with its options unless the page leaves them to --help, and each verb of the command line stands in its page.
manual_pages_are_whole() {
  local program page word
  for program in "$tree"/bin/*; do
    page=$tree/share/man/man1/$(basename "$program").1
    [ -s "$page" ] || fail "no manual page of $program"
    ! command -v man >/dev/null || ! LC_ALL=C.UTF-8 man --warnings -l "$page" 2>&1 >/dev/null | grep . || fail "$page"
    for word in $(words '--[a-z][a-z-]+' "$(basename "$program")"); do
      grep -q '^\.B [a-z_]* .*help$' "$page" || sed 's/\\-/-/g' "$page" | grep -F -e "$word" >/dev/null || fail "$page lacks $word"
    done
  done
  for word in $(run mathctl --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'); do
    grep -q -x -e "\.B $word" "$tree/share/man/man1/mathctl.1" || fail "the manual page of mathctl lacks $word"
  done
  # Of lumenar the completion, too, is written by hand.
  for word in $(words '^  --[a-z][a-z-]*' lumenar); do
    grep -q -e "[ ']${word}[ ']" "$source/packaging/lumenar.bash" || fail "the completion of lumenar lacks $word"
  done
}

# run_page PAGE DIRECTORY: the commands of a page, in a copy of the examples; this tree stands where the page has one of its own.
run_page() {
  local page=$1 directory=$2
  cp -r "$tree/share/doc/lumenar/examples" "$directory"
  { pages_prelude; commands_of "$source/$page" tests/install/installed_tree.sh; } |
    sed "s|/srv/lumenar|$tree|g; s|/usr/share/idl/lumenar|$tree/share/idl/lumenar|g" >"$directory.sh"
  (cd "$directory" && env -u CMAKE_PREFIX_PATH CMAKE_GENERATOR=Ninja PATH="$tree/bin:$PATH" bash -x "$directory.sh")
}

start_naming_service() {
  local port
  port=$(free_port $((20000 + RANDOM % 10000)))
  mkdir "$work/naming"
  start "$work/naming.log" omniNames -start "$port" -always -nohostname -datadir "$work/naming" \
    -ORBendPoint "giop:tcp:127.0.0.1:$port"
  until_line 20 "$work/naming.log" $! "Checkpointing completed\\."
  export LUMENAR_NAMING=127.0.0.1:$port
}

# start_ready LOG LINE PROGRAM...: starts a program and waits until it has written the line.
start_ready() {
  local log=$1 line=$2
  shift 2
  start "$work/$log" "$@"
  until_line 20 "$work/$log" $! "$line"
}

# What runs with the moved tree reads the configuration that moved with it, also a program that was built outside.
# Usage: the_moved_configuration_counts PROGRAM...
the_moved_configuration_counts() {
  local conf=$tree/etc/lumenar/tcp.conf said
  cp "$conf" "$work/sample.conf"
  echo "orb.nonsense = 1" >"$conf"
  said=$("$@" 2>&1) && fail "$1 ran with a configuration that is none"
  cp "$work/sample.conf" "$conf"
  [[ $said = *"$conf:1: "* ]] || fail "$1 did not read $conf: $said"
}

# As installed every line of the sample configuration is a comment; without the marks each is what it says by default.
start_platform() {
  local conf=$tree/etc/lumenar/tcp.conf
  ! grep -q -v -e '^#' -e '^$' "$conf" || fail "the sample configuration sets something"
  sed -n '/run.lumenar/d; s/^#\([a-z]*\.\)/\1/p' "$conf" >"$work/all.conf"
  start_naming_service
  start_ready topic_manager.log "topic_manager ready" "$tree/bin/topic_manager" --no-state
  start_ready hw_enumeration.log "hw_enumeration ready" \
    env LUMENAR_TRANSPORT_CONF="$work/all.conf" "$tree/bin/hw_enumeration"
  start_ready math.log "createEngine done" "$tree/bin/engine_host" math_factory_hh
}

# follow CLIENT INSTRUMENT LIBRARY: the client takes results of the instrument that the library holds.
follow() {
  local client=$1 library=$2 host
  start_ready instrument.log "createEngine done" "$tree/bin/engine_host" "$library" --set LOAD_RATE=50
  host=$!
  [ "$("$client" LOADMETER/1/HISTORY 3 | grep -c '^60 points, mean ')" = 3 ] || fail "results of $client"
  run mathctl get LOADMETER/1/LOAD | grep -e '-0.005 +0.005' >/dev/null || fail "readings of $library"
  [ -z "$(run mathctl list | sed 1d)" ] || fail "$client left a math object behind"
  end_process "$host"
}

# What look_around finds, and a reading that a client offers.
the_other_clients() {
  local built=$work/client/build
  [ "$("$built/own_reading" MYLAB/1 3 | tail -n 1)" = "peak of MYLAB/1/VOLTAGE: 0.3 V" ] || fail "own_reading"
  "$built/look_around" >"$work/looked" || fail "look_around: $(cat "$work/looked")"
  grep -q '^MATHFACTORY/1 at 127\.0\.0\.1:' "$work/looked" || fail "look_around: $(cat "$work/looked")"
  # Nobody at the address that is given: one line, and an end.
  ! "$built/look_around" 127.0.0.1:1 2>"$work/nobody" || fail "look_around without a platform"
  grep -q '^look_around: naming service at 127.0.0.1:1 does not answer' "$work/nobody" || fail "$(cat "$work/nobody")"
}

install_and_move
start "$work/client.log" run_page docs/writing-a-client.md "$work/client"
client=$!
look_for_old_places
every_program_explains_itself
manual_pages_are_whole
unset LUMENAR_TRANSPORT_CONF
the_moved_configuration_counts "$tree/bin/mathctl" readings
start_platform
run mathctl doctor || fail "mathctl doctor"
run mathctl engines --json | grep '"engine":"MATHFACTORY/1".*"version":"[1-9]' >/dev/null || fail "mathctl engines"
run_page docs/interfaces.md "$work/interfaces" >"$work/interfaces.log" 2>&1 || { cat "$work/interfaces.log"; fail "docs/interfaces.md"; }
[ -s "$work/interfaces/MathFactory.hh" ] || fail "stubs of the interfaces"
wait "$client" || { cat "$work/client.log"; fail "docs/writing-a-client.md"; }
the_moved_configuration_counts "$work/client/build/follow_average" LOADMETER/1/HISTORY 1
the_other_clients  # while every engine that has started is there
follow "$work/client/build/follow_average" "$work/client/build/libload_meter.so.1"
run_page docs/writing-an-instrument.md "$work/instrument" >"$work/instrument.log" 2>&1 || { cat "$work/instrument.log"; fail "docs/writing-an-instrument.md"; }
follow "$work/client/follow_average" "$work/instrument/libload_meter.so.1"
echo "client and instrument ran with the moved tree"
