#!/usr/bin/env bash
# Installs a Debian package, with what it depends on, into a Debian made for it, and
# runs the example host there. Wants root and a mirror of Debian.
#   clean_root.sh PACKAGE
set -euo pipefail
package=$1
mirror=http://deb.debian.org/debian
root=$(mktemp -d)
trap 'umount "$root/proc" 2>/dev/null || true; rm -rf --one-file-system "$root"' EXIT

debootstrap --variant=minbase bookworm "$root" "$mirror" >"$root.log" 2>&1 ||
    { cat "$root.log"; exit 1; }
rm -f "$root.log"
cp "$package" "$root/u.deb"
mount -t proc proc "$root/proc"
chroot "$root" bash -euc '
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends /u.deb >/install.log 2>&1 ||
        { cat /install.log; exit 1; }
    mkdir /files
    echo "a line" >/files/a.txt
    filecache --language de /files | tee /told
    grep -Eq "gelesene Dateien +1$" /told
    zdict --help >/dev/null'
echo "The package runs on a clean root."
