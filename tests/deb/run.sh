#!/bin/sh
# Installs the packages of `make deb` on a fresh Debian system in a temporary folder, uses them there
# and removes them. Needs root, debootstrap and a mirror (DEBIAN_MIRROR). With a folder of earlier
# packages these are installed first.
#
#   tests/deb/run.sh PACKAGES [EARLIER-PACKAGES]
set -eu
packages=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

fail() { echo "$*" >&2; exit 1; }
expect() { [ "$2" = "$3" ] || fail "$1: expected \"$2\", got \"$3\""; }
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 "$@"; }

install_all() { # FOLDER
    rm -f "$root"/var/tmp/*.deb &&
        cp "$1"/*.deb "$root/var/tmp/" &&
        inside sh -c 'DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends --reinstall \
        --allow-downgrades libxml2-utils /var/tmp/*.deb'
}

suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
{
    debootstrap --variant=minbase "$suite" "$root" "${DEBIAN_MIRROR:-http://deb.debian.org/debian}" &&
        { [ $# = 1 ] || install_all "$2"; } &&
        install_all "$packages"
} >"$work/log" 2>&1 || { tail -20 "$work/log"; fail "the packages do not install"; }

expect "the program" "0c1f72001b740041821b741080" "$(echo '<ovix-display><clear/><text>Aé€</text></ovix-display>' |
    inside kestrix-disp render - --raw | od -An -v -tx1 | tr -d ' \n')"
expect "the Perl module" "0c" "$(inside perl -MKestrixDispEngine -e '
    print unpack "H*", KestrixDispEngine::KestrixDispEngine->new->parse("<clear/>", "default", "DEFAULT")')"
expect "the Python package" "0c" "$(echo '<any><clear/></any>' |
    inside python3 -m kestrixdisp - | od -An -tx1 | tr -d ' ')"
for example in "$root"/usr/share/kestrix-disp/examples/*.xml; do
    [ "$(basename "$example")" != mistakes.xml ] || continue
    inside xmllint --noout --nonet --relaxng https://kestrix.invalid/schema/ovix-display.rng \
        "${example#"$root"}" 2>&1 |
        grep -q " validates$" || fail "not accepted by the schema that the XML catalog finds: $example"
done
for page in README.md docs/tutorial.md docs/display-model.md docs/decisions.md examples/README.md \
    examples/item.xml examples/till/till.c docs/pictures/item.svg changelog.gz; do
    inside test -s "/usr/share/doc/kestrix-disp/$page" || fail "the documentation lacks $page"
done

# Builds a program here with what is installed there, as that system needs no compiler then.
pc=$(dirname "$(find "$root/usr/lib" -name kestrixdispengine.pc)")
# shellcheck disable=SC2046
${CC:-cc} "$source/tests/consumer/convert.c" -o "$root/usr/bin/convert" \
    $(PKG_CONFIG_SYSROOT_DIR=$root PKG_CONFIG_LIBDIR=$pc PKG_CONFIG_ALLOW_SYSTEM_LIBS=1 \
        PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1 pkg-config --cflags --libs kestrixdispengine)
expect "a C program" "1B 74 00 41 82 " "$(inside convert)"

# shellcheck disable=SC2046
inside apt-get purge -y $(for deb in "$packages"/*.deb; do dpkg-deb -f "$deb" Package; done) >"$work/log" 2>&1 ||
    { tail -20 "$work/log"; fail "the packages do not go"; }
expect "what is left" "" "$(cd "$root" && find usr etc var/lib/xml-core -iname '*kestrix*' -o -name KALDO
    ! grep kestrix etc/xml/catalog)"
