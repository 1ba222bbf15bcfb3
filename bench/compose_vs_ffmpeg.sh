#!/usr/bin/env bash
# The video job of `morva compose` beside ffmpeg's xstack doing the same: N
# 1080p YUV4MPEG2 inputs scaled into the cells of a 2x2 grid and written as
# one 1080p YUV4MPEG2 video. Runs alternate between the two programs, so both
# see the same load on a shared machine; the medians and their ratio are
# printed. Skips cleanly without ffmpeg.
#
#   bench/compose_vs_ffmpeg.sh [morva binary] [runs] [frames]
set -euo pipefail
cd "$(dirname "$0")/.."

morva=${1:-build/tools/morva}
runs=${2:-3}
frames=${3:-100}

if ! command -v ffmpeg >/dev/null; then
    echo "ffmpeg is not installed: nothing to compare with, skipped"
    exit 0
fi
[ -x "$morva" ] || { echo "no morva binary at $morva (./build.sh demo builds it)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sources=(testsrc2 smptehdbars mandelbrot rgbtestsrc)
inputs=()
ffmpeg_inputs=()
for i in 0 1 2 3; do
    ffmpeg -loglevel error -f lavfi -i "${sources[$i]}=size=1920x1080:rate=25" -frames:v "$frames" \
        -pix_fmt yuv420p -f yuv4mpegpipe "$work/in$i.y4m"
    inputs+=("$work/in$i.y4m")
    ffmpeg_inputs+=(-i "$work/in$i.y4m")
done

# Both scale by the same kind of filter (bilinear) into 960x540 cells, compose
# in the format named, and write 4:2:0.
ffmpeg_job() {  # pix_fmt
    ffmpeg -loglevel error -y "${ffmpeg_inputs[@]}" -filter_complex \
        "[0]scale=960:540[a];[1]scale=960:540[b];[2]scale=960:540[c];[3]scale=960:540[d];[a][b][c][d]xstack=inputs=4:layout=0_0|w0_0|0_h0|w0_h0,format=$1" \
        -sws_flags bilinear -pix_fmt yuv420p -f yuv4mpegpipe "$work/ffmpeg.y4m"
}
morva_job() {  # format
    "$morva" compose -y -q --format "$1" --size 1920x1080 --scale stretch --interpolation linear \
        -o "$work/morva.y4m" "${inputs[@]}"
}

seconds() {  # command...
    local start end
    start=$(date +%s.%N)
    "$@"
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f\n", b - a }'
}

median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

echo "4 inputs of 1920x1080, $frames frames, into a 1920x1080 2x2 grid; $runs runs each, alternating"
printf "%-10s %12s %12s %14s\n" format "morva (s)" "ffmpeg (s)" "morva/ffmpeg"
for pair in "yuv420p yuv420p" "bgra bgra"; do
    read -r ours theirs <<<"$pair"
    : >"$work/ours" && : >"$work/theirs"
    for _ in $(seq "$runs"); do
        seconds morva_job "$ours" >>"$work/ours"
        seconds ffmpeg_job "$theirs" >>"$work/theirs"
    done
    m=$(median <"$work/ours")
    f=$(median <"$work/theirs")
    printf "%-10s %12.2f %12.2f %14.2f\n" "$ours" "$m" "$f" "$(awk -v a="$m" -v b="$f" 'BEGIN { print a / b }')"
done
