# Installs the Debian packages into a fresh Debian and uses them as an ordinary user would:
# builds hosts with CMake and with pkg-config in a folder with blanks and non-ASCII letters, runs
# the example host, upgrades from an older version, and removes all. For scripts/fresh_debian.
export LC_ALL=C.UTF-8
cd /given
rm -f ./*dbgsym*
fail() {
    echo "$*"
    exit 1
}
quietly() {
    "$@" >/quiet.log 2>&1 || { cat /quiet.log; fail "$* has failed"; }
}
install() {
    quietly apt-get install -y -qq --no-install-recommends --allow-downgrades "$@"
}

quietly apt-get update -qq
# What the removal of the packages must not leave behind.
list_files() {
    find /usr /etc /var/lib /opt -xdev \( -path /var/lib/apt -o -path /var/lib/dpkg \) -prune -o -print |
        sort
}

install ./libuplatform1_*.deb ./libu1_*.deb
dpkg -l | grep -q libsdl2 && fail "libu1 installs SDL"

install g++ cmake ninja-build pkg-config dpkg-dev
list_files >/before

# Packages of the same files with an older version.
mkdir /older
for package in ./*.deb; do
    dpkg-deb -R "$package" /repacked
    sed -i 's/^Version: .*/Version: 0.9/; s/(= [0-9.]*)/(= 0.9)/g' /repacked/DEBIAN/control
    dpkg-deb -b /repacked "/older/$(basename "$package")" >/dev/null
    rm -r /repacked
done
install /older/*.deb
install ./*.deb
dpkg-query -W -f='${Version}\n' libu1 libuplatform1 libualert-sdl1 libu-dev u-tools libu-doc |
    grep -v '^1\.' && fail "the upgrade has left an older package"

useradd --create-home builder
cp -r package "/home/builder/Größe und mehr"
chown -R builder "/home/builder/Größe und mehr"
su builder -c '
set -eu
cd "$HOME/Größe und mehr"
cmake -G Ninja -S . -B build >log
cmake --build build >>log
[ "$(build/host build/host_de.zdict 2>/dev/null)" = "Guten Tag" ]
g++ -std=c++17 host.cpp $(pkg-config --cflags --libs u) -o plain
[ "$(./plain build/host_de.zdict 2>/dev/null)" = "Guten Tag" ]
mkdir files
echo "a line" >files/a.txt
filecache --language de files >told
grep -Eq "gelesene Dateien +1$" told
filecache --version
zdict --version
memlog --version
' || fail "the packages do not serve an ordinary user"
[ -s /usr/share/doc/libu-doc/html/index.html ] || fail "the documents are missing"

userdel --remove builder 2>/dev/null
quietly apt-get purge -y -qq libu1 libuplatform1 libualert-sdl1 libu-dev u-tools libu-doc
quietly apt-get autoremove --purge -y -qq
list_files | grep -E '/(lib)?u[-_1p]|/U/|/U$|zdict|filecache|libU' && fail "the packages have left files"
echo "The packages serve a fresh Debian."
