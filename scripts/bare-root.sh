#!/usr/bin/env bash
# Makes a bare installation of a Debian release, with this machine's package sources, and runs commands in it, in a copy of
# the last commit. As root.
#   scripts/bare-root.sh bookworm|trixie COMMAND...
set -euo pipefail
cd "$(dirname "$0")/.."
release=$1
shift

root=$(mktemp -d)
chmod 755 "$root"
trap 'rm -rf --one-file-system "$root"' EXIT
own_release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
lists=()
for sources in /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources; do
    if [[ -s $sources ]]; then
        sed "s/\b$own_release\b/$release/" "$sources" >"$root.${sources##*.}"
        lists+=("$root.${sources##*.}")
    fi
done
apt-config dump --format '%f "%v";%n' | grep -E '^Acquire::(http|https)::' >"$root.conf" || true
mmdebstrap --quiet --variant=minbase --aptopt="$root.conf" "$release" "$root" "${lists[@]}"
rm -f "$root".list "$root".sources "$root.conf"

mkdir "$root/src"
git archive HEAD | tar --extract --directory="$root/src"
unshare --mount --pid --fork --kill-child bash -ec '
    mount -t proc proc "$1/proc"
    mount --rbind /dev "$1/dev"
    exec env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin chroot "$1" /bin/bash -c "cd /src && ${*:2}"' bash "$root" "$@"
