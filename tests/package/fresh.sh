# Installs the Debian packages into a fresh Debian, over an older version, uses them as an ordinary
# user would in a folder with blanks and non-ASCII letters, and removes them without a trace. For
# scripts/fresh_debian.
export LC_ALL=C.UTF-8
cd /given
fail() {
    echo "$*"
    exit 1
}
quietly() {
    "$@" >/tmp/log 2>&1 || { cat /tmp/log; fail "$* has failed"; }
}
install() {
    quietly apt-get install -y -qq --no-install-recommends "$@"
}
# The packages that an installation would install.
needed() {
    apt-get install -s --no-install-recommends "$@" | sed -n 's/^Inst \([^ ]*\) .*/\1/p'
}
# All files, but for those of the system and of this test.
list_files() {
    find / \( -path /proc -o -path /dev -o -path /run -o -path /tmp -o -path /home -o -path /given \) \
        -prune -o -print | sort
}

quietly apt-get update -qq
needed ./libuplatform1_*.deb ./libu1_*.deb | grep -i sdl && fail "libu1 installs SDL"
for package in ./*.deb; do
    dpkg-deb -f "$package" Package
done >/tmp/ours

# All but the packages themselves, so that the lists of files differ by their traces alone.
mapfile -t dependencies < <(needed ./*.deb | grep -vxFf /tmp/ours)
install "${dependencies[@]}" g++ cmake ninja-build pkg-config gdb gnuplot-nox
useradd --create-home builder
list_files >/tmp/before

# Packages of the same files with an older version.
mkdir /tmp/older
for package in ./*.deb; do
    [[ $package != *dbgsym* ]] || continue
    dpkg-deb -R "$package" /tmp/repacked
    version=$(dpkg-deb -f "$package" Version)
    sed -i "s/^Version: .*/Version: 0.9/; s/= $version)/= 0.9)/g" /tmp/repacked/DEBIAN/control
    dpkg-deb -b /tmp/repacked "/tmp/older/$(basename "$package")" >/dev/null
    rm -r /tmp/repacked
done
install /tmp/older/*.deb
install ./*.deb
mapfile -t ours </tmp/ours
dpkg-query -W -f='${Version}\n' "${ours[@]}" | grep -v '^1\.' &&
    fail "the upgrade has left an older package"
[ -s /usr/share/doc/libu-doc/html/index.html ] || fail "the documents are missing"

folder="/home/builder/Größe und mehr"
mkdir "$folder"
cp -r package docs "$folder"
chown -R builder "$folder"
pages=/usr/share/doc/libu-doc/pages
su builder -c "bash '$folder/package/use_packages.sh' $pages/*.md $pages/docs/*.md" ||
    fail "the packages do not serve an ordinary user"

quietly apt-get purge -y -qq "${ours[@]}"
list_files >/tmp/after
diff /tmp/before /tmp/after || fail "the packages have left files, or removed others"
echo "The packages serve a fresh Debian."
