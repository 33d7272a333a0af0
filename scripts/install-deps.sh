#!/usr/bin/env bash
# Installs the Debian 12 packages that building and testing Nomly need.
# Does nothing when every package is already present. This is the only
# place in the project that names packages.
set -euo pipefail

packages=(
    # toolchain
    build-essential
    cmake
    ninja-build
    pkg-config
    ccache
    clang-format
    # the fuzz targets build with clang's libFuzzer
    clang
    # core libraries
    qt6-base-dev
    qt6-base-dev-tools
    qcoro-qt6-dev
    libicu-dev
    libsqlite3-dev
    libssl-dev
    # reading files: PDF text, OCR with its English data, ZIP containers,
    # embedded metadata, HEIC and AVIF pictures, and the image decoders Qt
    # loads at run time
    libpoppler-qt6-dev
    libtesseract-dev
    tesseract-ocr-eng
    libzip-dev
    libexiv2-dev
    libheif-dev
    libavformat-dev
    libavcodec-dev
    libavutil-dev
    libswscale-dev
    libswresample-dev
    # speech heard on this machine (English model), and the fingerprints of
    # music
    libpocketsphinx-dev
    pocketsphinx-en-us
    libchromaprint-dev
    libtag1-dev
    # the language of extracted text
    libexttextcat-dev
    libexttextcat-data
    qt6-image-formats-plugins
    libqt6svg6
    qtkeychain-qt6-dev
    # nomly-backend, and the provider peers the AI route tests talk to
    qt6-httpserver-dev
    # the statistics charts of the settings window (Qt Charts finds its
    # OpenGL module through the second package, which it does not pull in)
    qt6-charts-dev
    libqt6opengl6-dev
    # nomly-backend's iWork export: LibreOffice without its desktop, whose
    # import filters read Pages, Numbers and Keynote documents
    libreoffice-writer-nogui
    libreoffice-calc-nogui
    libreoffice-impress-nogui
    # getfattr and setfattr, to look at the attributes renamed files carry
    attr
    # a private Secret Service for the key custody tests: dbus-run-session
    # and gnome-keyring-daemon
    dbus
    dbus-bin
    gnome-keyring
    # tests of reading files: locking PDFs, writing EXIF, making media, and
    # making HEIC and AVIF pictures (heif-enc; heif-convert is the content
    # benchmark's reference)
    qpdf
    exiv2
    ffmpeg
    libheif-examples
    # recordings made at test time: speech, tones and silence
    espeak-ng
    sox
    # office documents, e-books and web pages made at test time, and the
    # converter nomly-backend runs for documents it is sent
    pandoc
    libreoffice-writer-nogui
    libreoffice-calc-nogui
    libreoffice-impress-nogui
    # the desktop face on a virtual display (xvfb-run), and the check of
    # its desktop entry
    xvfb
    xauth
    desktop-file-utils
    # the quick-rename hotkey grabbed on X11 (libxcb), and the key presses
    # its test sends to the virtual display
    libxcb1-dev
    xdotool
    # xmllint, for the check of the Thunar action
    libxml2-utils
    # benchmarks: the reference tools the content benchmark compares with
    libvips-tools
    pocketsphinx
    poppler-utils
    libbenchmark-dev
)

missing=()
for pkg in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$pkg")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
    sudo=sudo
else
    sudo=
fi

echo "install-deps: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
