#!/usr/bin/env bash
# Runs the main job and every test in a Debian 12 that has nothing but its base, from a copy of the sources without
# their history. Needs root. The last line is that of ./test inside.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ "$(id -u)" = 0 ] || { say "A bare machine is made by chroot: needs root"; exit 1; }
install_packages mmdebstrap git

bare=$(mktemp -d)
cleanup() {
    for folder in dev/shm dev proc; do umount "$bare/$folder" 2>/dev/null || true; done
    # A mount that is still there must not be emptied with the folder.
    rm -rf --one-file-system "$bare"
}
trap cleanup EXIT

say "Making a Debian 12 in $bare"
mmdebstrap --quiet --variant=minbase bookworm "$bare" >&2
mount -t proc proc "$bare/proc"
mount --bind /dev "$bare/dev"
mount -t tmpfs tmpfs "$bare/dev/shm"
cp /etc/resolv.conf "$bare/etc/resolv.conf"

# What this machine needs to reach the package registries, the bare one needs as well.
environment=(HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8)
for name in http_proxy https_proxy no_proxy; do
    [ -n "${!name:-}" ] && environment+=("$name=${!name}")
done
if [ -n "${NODE_EXTRA_CA_CERTS:-}" ]; then
    cp "$NODE_EXTRA_CA_CERTS" "$bare/etc/extra-certificates.pem"
    environment+=(NODE_EXTRA_CA_CERTS=/etc/extra-certificates.pem)
fi

mkdir "$bare/panedeck"
(cd "$root" && git ls-files -z | tar --create --null --files-from=-) | tar --extract --directory="$bare/panedeck"

say "Running ./run --check and ./test in it"
chroot "$bare" env -i "${environment[@]}" /bin/sh -c 'cd /panedeck && ./run --check >/dev/null && ./test' </dev/null
