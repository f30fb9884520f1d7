# Runs the two commands of the README in a clone of the tree, with git and make
# installed and nothing else. For scripts/fresh_debian.
apt-get update -qq
apt-get install -y -qq --no-install-recommends git make >/install.log 2>&1 ||
    { cat /install.log; exit 1; }
git -c advice.detachedHead=false clone -q /given/u.bundle /root/u
cd /root/u
make demo
make test
echo "make demo and make test run on a fresh Debian."
