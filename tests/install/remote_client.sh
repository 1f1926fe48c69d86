# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# The recipe of docs/operations.md for a client on another machine, to the letter: the files and lines of its table are put where
# they belong on the machine that booted.sh has, and a second machine, a network of its own, is the client. To be sourced.
# shellcheck disable=SC2154

# recipe MACHINE: of the page's table the rows for "board" or "client", each "FILE<tab>LINE".
recipe() {
  awk -F '|' -v machine="$1" '/^\| machine \| file \| line \|/ { inside = 1; next } inside && !/^\|/ { exit }
    inside { gsub(/^ +| +$/, "", $2); if ($2 == machine) {
      file = $3; gsub(/[` ]/, "", file)
      rest = $4
      while (match(rest, /`[^`]*`/)) { print file "\t" substr(rest, RSTART + 1, RLENGTH - 2); rest = substr(rest, RSTART + RLENGTH) } } }' \
    "$source/docs/operations.md"
}

# Joins the machine that booted with one that has a network of its own, whose process is $client_machine.
join_client_machine() {
  local end=lum$$
  start "$work/client.log" unshare --net --kill-child sleep infinity
  client_machine=$!
  # shellcheck disable=SC2317
  has_own_network() { [ "$(readlink "/proc/$client_machine/ns/net")" != "$(readlink /proc/self/ns/net)" ]; }
  until_true 10 has_own_network
  ip link add "${end}a" type veth peer name "${end}b"
  ip link set "${end}a" netns "$machine_id" name client0
  ip link set "${end}b" netns "$client_machine" name board0
  in_machine true  # the machine is there
  nsenter -t "$machine_id" --net sh -c 'ip addr add 10.0.0.5/24 dev client0 && ip link set client0 up'
  nsenter -t "$client_machine" --net sh -c 'ip addr add 10.0.0.7/24 dev board0 && ip link set board0 up && ip link set lo up'
}

# at_client COMMAND...: on the client's machine, whose files are those of the recipe.
at_client() {
  nsenter -t "$client_machine" --net chroot --userspec="$nobody:$nobody" "$root" /usr/bin/env -i PATH=/usr/bin:/bin \
    LUMENAR_TRANSPORT_CONF=/srv/client.conf "${client_environment[@]}" "$@"
}

# The settings before are back, and all that runs has them.
end_recipe() {
  rm -rf "$root/etc/systemd/system/lumenar-.service.d" "$root/srv/client.conf" "$root/etc/lumenar"
  mv "$work/settings" "$root/etc/lumenar"
  restart_all
  until_works
}

restart_all() {
  manager daemon-reload
  manager restart lumenar.target
  manager restart lumenar-engine@sim lumenar-engine@probe
}

serves_a_client_on_another_machine() {
  local file line changed=()
  cp -r "$root/etc/lumenar" "$work/settings"
  while IFS=$'\t' read -r file line; do
    mkdir -p "$(dirname "$root$file")"
    echo "$line" >>"$root$file"
    changed+=("$file")
  done < <(recipe board)
  [ "${#changed[@]}" -ge 8 ] || fail "the page has no recipe: ${changed[*]}"
  echo "LUMENAR_ENDPOINT=giop:tcp:10.0.0.5:2704" >>"$root/etc/lumenar/engine-sim.conf"
  echo "LUMENAR_ENDPOINT=giop:tcp:10.0.0.5:2705" >>"$root/etc/lumenar/engine-probe.conf"
  client_environment=()
  while IFS=$'\t' read -r file line; do
    if [ "$file" = environment ]; then read -r -a client_environment <<<"$line"; else echo "$line" >>"$root/srv/client.conf"; fi
  done < <(recipe client)
  [ "${#client_environment[@]}" = 2 ] || fail "the page gives the client no environment"
  # Without the recipe nobody gets through.
  ! at_client mathctl readings >"$work/remote" 2>&1 || fail "the machine served a client before it was told to"

  restart_all
  until_true 60 at_client mathctl readings || fail "the client finds nothing: $(at_client mathctl doctor 2>&1)"
  at_client mathctl watch SIM/1/LEVEL -n 3 --idle 20 >"$work/remote" 2>&1 || fail "no samples at the client: $(cat "$work/remote"); $(journal -n 20 -u 'lumenar-*')"
  at_client mathctl create Average SIM/1/LEVEL >"$work/remote_id" || fail "the client creates nothing"
  at_client mathctl watch "$(cat "$work/remote_id")" -n 3 --idle 20 >"$work/remote" 2>&1 || fail "no results at the client: $(cat "$work/remote")"
  at_client mathctl delete "$(cat "$work/remote_id")"

  end_recipe
}

# The page for browsers of another machine, as docs/operations.md says it: with the token, and not without.
serves_the_page_to_another_machine() {
  local file line
  cp -r "$root/etc/lumenar" "$work/settings"
  while IFS=$'\t' read -r file line; do
    mkdir -p "$(dirname "$root$file")"
    echo "$line" >>"$root$file"
  done < <(page_recipe)
  chmod 600 "$root/etc/lumenar/web-token"
  manager daemon-reload
  manager start lumenar-web || fail "the page for others: $(journal -n 20 -u lumenar-web)"
  at_client python3 -c '
import sys, urllib.error, urllib.request
request = urllib.request.Request("http://10.0.0.5:8080/metrics")
try:
    urllib.request.urlopen(request, timeout=20)
    sys.exit("no token is asked for")
except urllib.error.HTTPError as error:
    assert error.code == 401, error
request.add_header("Authorization", "Bearer " + sys.argv[1])
assert b"lumenar_well 1" in urllib.request.urlopen(request, timeout=20).read()
' "$(cat "$root/etc/lumenar/web-token")" >"$work/page" 2>&1 || fail "the page for others: $(cat "$work/page") $(journal -n 20 -u lumenar-web)"
  manager stop lumenar-web
  rm -r "$root/etc/systemd/system/lumenar-web.service.d" "$root/etc/lumenar"
  mv "$work/settings" "$root/etc/lumenar"
  manager daemon-reload
}
# The rows of the page's table, each "FILE<tab>LINE".
page_recipe() {
  awk -F '|' '/^### The page from another machine/ { there = 1 } there && /^\| file \| line \|/ { inside = 1; next } inside && !/^\|/ { exit }
    inside && $2 ~ /`/ { file = $2; gsub(/[` ]/, "", file); rest = $3
      while (match(rest, /`[^`]*`/)) { line = substr(rest, RSTART + 1, RLENGTH - 2); rest = substr(rest, RSTART + RLENGTH)
        if (line !~ /^chmod/) print file "\t" line } }' "$source/docs/operations.md"
}

# Through ssh alone: the page's command, but for the name of the machine, while every service listens on loopback.
serves_a_client_through_one_port() {
  local command port=2701 name key=$root/root/.ssh/id_ed25519
  command=$(sed -n '/^ssh -N /,/[^\\]$/p' "$source/docs/operations.md" | tr -d '\\\n&' | sed 's/user@board/root@10.0.0.5/')
  [ -n "$command" ] || fail "the page has no command for one port"
  cp -r "$root/etc/lumenar" "$work/settings"
  for name in topic-manager hw-enumeration engine-math_factory_hh; do
    echo "LUMENAR_ENDPOINT=giop:tcp:127.0.0.1:$port" >>"$root/etc/lumenar/$name.conf"
    port=$((port + 1))
  done
  restart_all
  until_works
  mkdir -p "$root/root/.ssh"
  chmod 700 "$root/root/.ssh"
  ssh-keygen -q -t ed25519 -N '' -f "$key"
  cp "$key.pub" "$root/root/.ssh/authorized_keys"
  manager start ssh
  read -r -a words <<<"$command"
  start "$work/ssh.log" nsenter -t "$client_machine" --net chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin HOME=/root \
    "${words[0]}" -o StrictHostKeyChecking=no -o ExitOnForwardFailure=yes "${words[@]:1}"
  forwarding=$!
  echo "orb.allowed_peer = localhost" >"$root/srv/client.conf"
  client_environment=("LUMENAR_ENDPOINT=giop:tcp:127.0.0.1:2710")
  until_true 30 at_client mathctl list || fail "nothing comes through ssh: $(cat "$work/ssh.log")"
  in_machine mathctl create Average SIM/1/LEVEL >"$work/remote_id"
  at_client mathctl watch "$(cat "$work/remote_id")" -n 3 --idle 20 >"$work/remote" 2>&1 ||
    fail "no results through ssh: $(cat "$work/remote" "$work/ssh.log")"
  in_machine mathctl delete "$(cat "$work/remote_id")"
  end_process "$forwarding"
  rm -r "$root/root/.ssh"
  end_recipe
}
