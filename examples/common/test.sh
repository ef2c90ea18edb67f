#!/usr/bin/env bash
# Runs the programs on small and strange input: none may crash or hang, and each must say what is wrong.
#   test.sh PROGRAM_FOLDER SCRATCH_FOLDER
set -euo pipefail

programs=$1
rm -rf "$2"
mkdir -p "$2"
cd "$2"

# points NAME X Y Z...
points() {
    local name=$1
    shift
    printf '%s %s %s\n' "$@" >"$name.xyz"
}
points north 0 0 1  2 0 5  0 2 3  2 2 4  1 3 9
points line 0 0 1  1 1 2  2 2 3
points scattered 0 0 1  1 3 2  2 9 3  7 4 3  8 1 4
points few 0 0 1  1 3 2  2 9 3  7 4 3
points ring 0 0 1  9000 0 2  0 9000 3
points tiny 5e-324 0 1  0 5e-324 2  0 0 5e-324  1e-323 1e-323 0
points flat 0 0 0  1 0 5e-324  0 1 0
points steep 0 0 -1e308  1 0 1e308  0 1 0
points high 0 0 1e300  1 0 1e300  0 1 1e300
points bowl 0 0 3  6 0 3  0 6 3  6 6 3  3 3 0

while IFS='|' read -r status text arguments; do
    found=0
    # shellcheck disable=SC2086
    timeout 60 "$programs/"$arguments --out pictures >out.txt 2>&1 || found=$?
    if [[ $found != "$status" ]] || ! grep -q -F -e "$text" out.txt; then
        echo "FAILED: $arguments: status $found, expected $status and '$text': $(cat out.txt)" >&2
        exit 1
    fi
done <<'END'
0|to its west and east there is no ground|contours north.xyz
0|Drawing|contours tiny.xyz
0|levels          1|contours high.xyz
0|area            4|contours bowl.xyz --flood 1
0|volume          1.333333333|contours bowl.xyz --flood 1 --page
0|area            0|contours bowl.xyz --flood -1 --page
0|Drawing|contours steep.xyz --interval 1e307
1|heights from 0 to 4.940656458e-324 need an --interval|contours flat.xyz
1|heights from -1e+308 to 1e+308 need an --interval|contours steep.xyz
105|--interval: makes more than 1000 levels|contours north.xyz --interval 1e-3
1|line.xyz: all points lie on one line|contours line.xyz
1|line.xyz: all points lie on one line|terrain line.xyz
1|line.xyz: all points lie on one line|meshing line.xyz
1|line.xyz: all points lie on one line|breaklines line.xyz
1|line.xyz: all points lie on one line|earthworks line.xyz
1|few.xyz: the points taken lie on one line|breaklines few.xyz
1|ring.xyz: no ground in the middle|earthworks ring.xyz
1|line.xyz: all points lie on one line|models line.xyz
1|ring.xyz: no ground in the middle|models ring.xyz
1|scattered.xyz: the points do not stand in a grid|breaklines scattered.xyz
0|Usage: terrain|terrain --help
0|(-0.5, 3): outside|terrain --height 1,1 --height -0.5,3 north.xyz --no-picture
106|FILE is required|terrain
109|not expected: line.xyz|terrain north.xyz line.xyz
104|--height = 1,2,3|terrain north.xyz --height 1,2,3
105|--threads: Value 1.5|terrain north.xyz --threads 1.5
105|--interval: nan is not a number above 0|contours north.xyz --interval nan
105|--step: Value 0|breaklines north.xyz --step 0
END
