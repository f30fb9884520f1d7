# Installs the Debian package, with the packages that it depends on, and runs the example
# host. For scripts/fresh_debian.
cd /given
apt-get update -qq
apt-get install -y -qq --no-install-recommends ./*.deb >/install.log 2>&1 ||
    { cat /install.log; exit 1; }
mkdir /files
echo "a line" >/files/a.txt
filecache --language de /files | tee /told
grep -Eq "gelesene Dateien +1$" /told
zdict --help >/dev/null
memlog --version
echo "The package runs on a fresh Debian."
