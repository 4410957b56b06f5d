#!/usr/bin/env bash
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
#
# bare.sh [COMMAND...]: makes a minimal Debian 12 in build/bare, copies this checkout into it and runs ./run and
# ./check there, or each COMMAND instead. Needs root and debootstrap; takes the packages from this machine's own
# source of packages. The folder is removed if everything succeeds.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD/build/bare

if [ "${BARE_NAMESPACE-}" != entered ]; then
  [ "$(id -u)" = 0 ] || { echo "bare.sh: must be run as root" >&2; exit 1; }
  # Private mounts and processes, so that none are left behind.
  BARE_NAMESPACE=entered exec unshare --mount --pid --fork --kill-child --propagation private "$0" "$@"
fi

archive() { # this machine's source of packages
  apt-get indextargets --format '$(REPO_URI)' 'Codename: bookworm' 'Created-By: Packages' 'Component: main' | head -n 1
}

make_root() {
  rm -rf "$root"
  mkdir -p "$root"
  debootstrap --variant=minbase bookworm "$root" "$(archive)" >build/bare.log ||
    { cat build/bare.log "$root/debootstrap/debootstrap.log" >&2; exit 1; }
  mkdir "$root/updater"
  tar --exclude=./build --exclude=./.git -cf - . | tar -C "$root/updater" -xf -
}

mount_surroundings() {
  mount -t proc proc "$root/proc"
  mount -t sysfs -o ro sysfs "$root/sys"
  mount --rbind /dev "$root/dev"
  mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
}

[ $# -gt 0 ] || set -- ./run ./check
make_root
mount_surroundings
for command in "$@"; do
  echo "In a bare Debian 12: $command"
  env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    chroot "$root" /bin/bash -c "cd /updater && $command"
done
umount -R "$root/dev" "$root/sys" "$root/proc"
rm -rf "$root"
