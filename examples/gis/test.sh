#!/usr/bin/env bash
# Runs the program on small rasters and lines that are made here, and reads what it writes with the tools of GDAL.
#   test.sh PROGRAM DATA_FOLDER SCRATCH_FOLDER
set -euo pipefail

gis=$1
data=$2
rm -rf "$3"
mkdir -p "$3"
cd "$3"
if ! command -v ogrinfo >/dev/null; then
    echo "skipped: no ogrinfo (Debian: gdal-bin)"
    exit 77
fi

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# same WHAT EXPECTED ACTUAL
same() {
    [[ $2 == "$3" ]] || fail "$1: expected '$2', got '$3'"
}

# says TEXT COMMAND...: the command prints the text, wherever it does.
says() {
    local text=$1
    shift
    "$@" >said.txt 2>&1 || true
    grep -q -F -e "$text" said.txt || fail "$*: no '$text' in: $(cat said.txt)"
}

# query FILE SQL: the values, each on a line.
query() {
    ogrinfo -q -dialect sqlite -sql "$2" "$1" | sed -n 's/^  .* ([A-Za-z0-9]*) = //p'
}

# ---- The sample: what the program prints is what stands in the file ----

"$gis" "$data/jacksboro.asc" "$data/jacksboro_streams.geojson" --max-points 20000 --interval 100 --out sample.gpkg \
    >sample.txt
for layer in contours triangles; do
    same "the number of $layer" "$(awk -v layer=$layer '$1 == layer {num = $2} END {print num}' sample.txt)" \
        "$(query sample.gpkg "SELECT count(*) FROM $layer")"
done
says 'Geometry: 3D Line String' ogrinfo -so sample.gpkg contours
says 'Geometry: 3D Polygon' ogrinfo -so sample.gpkg triangles
says 'PROJCRS["Jacksboro_local"' ogrinfo -so sample.gpkg contours
same "the levels" "300 1000 8" \
    "$(query sample.gpkg "SELECT min(height), max(height), count(DISTINCT height) FROM contours" | xargs)"
same "heavy lines" "500 1000 2" \
    "$(query sample.gpkg "SELECT min(height), max(height), count(DISTINCT height) FROM contours WHERE heavy" | xargs)"
same "the highest corner" 1076 "$(query sample.gpkg "SELECT max(ST_MaxZ(geom)) FROM triangles")"

# ---- An even slope: 6 by 5 cells of 10 m, 100.5 m at the western centres, and up by a metre with each column ----

# slope X Y CELLSIZE: its text, X and Y being the south-western centre.
slope() {
    printf 'ncols 6\nnrows 5\nxllcenter %s\nyllcenter %s\ncellsize %s\nNODATA_value -1\n' "$1" "$2" "$3"
    for _ in 1 2 3 4 5; do echo 100.5 101.5 102.5 103.5 104.5 105.5; done
}
slope 500000 5000000 10 >slope.asc
slope 15 45 0.001 >degrees.asc
# At (20, 20), and the south-eastern corner.
sed '9s/102.5/-1/; 11s/104.5 105.5/-1 -1/' slope.asc >holes.asc
sed 's/\.5/.75/g' slope.asc >second.asc
for name in slope holes second; do gdal_translate -q -a_srs EPSG:32633 $name.asc $name.tif; done
gdal_translate -q -a_srs EPSG:4326 degrees.asc degrees.tif
gdalbuildvrt -q -separate bands.vrt slope.tif second.tif
# Turned by 30 degrees.
gdal_translate -q -of VRT slope.tif turned.vrt
corner='499995, 8.660254037844387, 5, 5000045, 5, -8.660254037844387'
sed -i "s|<GeoTransform>.*</GeoTransform>|<GeoTransform>$corner</GeoTransform>|" turned.vrt
# Cells ten times as wide.
gdal_translate -q -of VRT -a_ullr 500000 5000050 500600 5000000 slope.tif wide.vrt
gdal_translate -q -of VRT -a_srs 'LOCAL_CS["unnamed"]' slope.tif local.vrt

# lines NAME EPSG WKT...: makes NAME.gpkg, and NAME.csv, which does not tell the coordinate system.
lines() {
    local name=$1 epsg=$2
    shift 2
    {
        echo WKT,kind
        printf '"%s",\n' "$@"
    } >"$name.csv"
    ogr2ogr -f GPKG "$name.gpkg" "$name.csv" -a_srs "EPSG:$epsg"
}
lines flat 32633 'LINESTRING (500032 5000004, 500047 5000031)' \
    'POLYGON ((500033 5000021, 500044 5000022, 500034 5000037, 500033 5000021))'
lines wall 32633 'LINESTRING Z (500013 5000004 150, 500033 5000034 150)'
lines dam 32633 'LINESTRING Z (500010 5000010 150, 500030 5000030 160)'
lines across 32633 'LINESTRING (400000 5000020.5, 600000 5000020.5)' \
    'LINESTRING (500020.5 4000000, 500020.5 6000000)'
lines beside 32633 'LINESTRING (600000 5000000, 600010 5000010)'
lines points 32633 'POINT (500010 5000010)'
lines lost 4326 'LINESTRING (15 95, 16 96)' 'LINESTRING (15.0001 45.1536, 15.0004 45.1537)'
lines gone 4326 'LINESTRING (15 95, 16 96)'
lines border 32633 'LINESTRING (500001 5000002, 500048 5000002)'
lines dots 32633 'LINESTRING (500020 5000020, 500020 5000020)' 'LINESTRING (500030 5000030, 500030 5000030)'
lines narrow 32633 'LINESTRING (500051 5000007, 500560 5000012, 500070 5000041)'
lines huge 32633 'LINESTRING Z (500013 5000004 1e308, 500033 5000034 -1e308)'
ogr2ogr -f GPKG undefined.gpkg wall.csv
printf '%s\n' WKT,kind '"LINESTRING (1e999 5000020, 500030 5000020)",' >nowhere.csv
{
    cat nowhere.csv
    echo '"LINESTRING Z (500013 5000004 1e999, 500033 5000034 150)",'
} >endless.csv
lines small 4326 'LINESTRING (15.001 45.001, 15.004 45.003)'
ogr2ogr -t_srs EPSG:4326 degrees.shp wall.gpkg
ogr2ogr two.gpkg flat.gpkg
ogr2ogr -update two.gpkg wall.gpkg

# run RASTER LINES [OPTION...]: writes out.gpkg, and what it prints to out.txt.
run() {
    "$gis" "$@" --interval 1 --out out.gpkg >out.txt 2>&1 || fail "$* ended with $?: $(cat out.txt)"
}
# area [CONDITION]: of the triangles.
area() {
    query out.gpkg "SELECT round(sum(ST_Area(geom)), 2) FROM triangles WHERE ${1-1}"
}
highest() {
    query out.gpkg "SELECT max(ST_MaxZ(geom)) FROM triangles"
}
# How many contours there are, and how long the shortest and the longest of them is.
contours() {
    query out.gpkg "SELECT count(*), round(min(ST_Length(geom)), 6), round(max(ST_Length(geom)), 6) FROM contours" | xargs
}

run slope.tif flat.gpkg
says 'ID["EPSG",32633]]' ogrinfo -so out.gpkg contours
grep -q 'lines *2, 2 of them laid' out.txt || fail "the outline of a polygon is a line"
same "the area" 2000 "$(area)"
same "contours, which lines on the ground do not bend" "5 40 40" "$(contours)"
same "their places" "500005 500045" \
    "$(query out.gpkg "SELECT round(min(ST_MinX(geom)), 6), round(max(ST_MaxX(geom)), 6) FROM contours" | xargs)"

run slope.tif flat.gpkg --max-points 12
same "the area of a raster that was thinned out" 2000 "$(area)"

run turned.vrt across.gpkg
same "the area of a turned raster" 2000 "$(area)"
same "contours of a turned raster" "5 40 40" "$(contours)"

run wide.vrt narrow.gpkg
same "the area of cells that are not square" 20000 "$(area)"

run slope.asc flat.csv
says 'ENGCRS["Undefined Cartesian SRS"' ogrinfo -so out.gpkg contours

run bands.vrt flat.gpkg --band 2
same "the second band" 105.75 "$(highest)"

run holes.tif flat.gpkg
same "the area without data" 1650 "$(area)"
run holes.tif across.gpkg
grep -q 'on the raster *3 segments' out.txt || fail "lines must end at a hole"
same "triangles in a hole" 0 \
    "$(query out.gpkg "SELECT count(*) FROM triangles WHERE ST_Intersects(geom, MakePoint(500020, 5000020))")"

run slope.tif two.gpkg --layer wall
same "the height of a wall" 150 "$(highest)"
wall=$(area "ST_MaxZ(geom) > 140")
run slope.tif degrees.shp
same "a wall in degrees" "150 $wall" "$(highest) $(area "ST_MaxZ(geom) > 140")"
run slope.tif dam.gpkg  # through the centres of three cells
same "a dam without gaps" "150 155 160" \
    "$(query out.gpkg "SELECT DISTINCT ST_MaxZ(geom) AS z FROM triangles WHERE z > 140 ORDER BY z" | xargs)"
run slope.tif wall.gpkg --drape
same "a wall laid on the ground" 105.5 "$(highest)"

run slope.tif endless.csv
same "a wall without a top, laid on the ground" 105.5 "$(highest)"

# ---- What is written takes the place of nothing else ----

cp flat.gpkg mine.unfinished.gpkg
"$gis" slope.tif mine.unfinished.gpkg --out mine.gpkg >out.txt
cmp flat.gpkg mine.unfinished.gpkg
rm mine.unfinished.gpkg
cp flat.gpkg target.gpkg
ln -s target.gpkg link.gpkg
"$gis" slope.tif flat.gpkg --out link.gpkg >out.txt
[[ -L link.gpkg ]] || fail "a link must stay"
says triangles ogrinfo -q target.gpkg

# ---- What the user is told ----

while IFS='|' read -r warning arguments; do
    # shellcheck disable=SC2086
    run $arguments
    grep -q -F -e "gis: warning: $warning" out.txt || fail "$arguments: no '$warning' in: $(cat out.txt)"
done <<'END'
wall.csv has no coordinate system|slope.tif wall.csv
slope.asc has no coordinate system|slope.asc wall.gpkg
undefined.gpkg has no coordinate system|slope.tif undefined.gpkg
local.vrt has no coordinate system|local.vrt wall.gpkg
1 lines have heights that are not finite|slope.tif endless.csv
1 lines have coordinates that are not finite|slope.tif endless.csv
degrees.tif is in degrees|degrees.tif small.gpkg
1 features cannot be transformed|slope.tif lost.gpkg
END

rm out.gpkg
mkdir folder.gpkg
while IFS='|' read -r status message arguments; do
    found=0
    # shellcheck disable=SC2086
    "$gis" $arguments >out.txt 2>&1 || found=$?
    same "$arguments" "$status" "$found"
    grep -q -F -e "$message" out.txt || fail "$arguments: no '$message' in: $(cat out.txt)"
done <<'END'
106|RASTER is required|
106|LINES is required|slope.tif
109|not expected: flat.gpkg|slope.tif wall.gpkg flat.gpkg
105|must end in .gpkg|slope.tif wall.gpkg --out out.tif
105|would replace wall.gpkg|slope.tif wall.gpkg --out ./wall.gpkg
105|more than 1000 levels|slope.tif wall.gpkg --interval 1e-9
105|--max-points: Value 3|slope.tif wall.gpkg --max-points 3
1|missing.tif: No such file|missing.tif wall.gpkg
1|missing.gpkg|slope.tif missing.gpkg
1|not recognized|wall.csv wall.gpkg
1|slope.tif has no band 2|slope.tif wall.gpkg --band 2
1|two.gpkg? It has flat, wall|slope.tif two.gpkg
1|no layer road, only flat, wall|slope.tif two.gpkg --layer road
1|no lines in layer points|slope.tif points.gpkg
1|can be used: 1 features cannot be transformed|slope.tif gone.gpkg
1|can be used: 1 lines have coordinates that are not finite|slope.tif nowhere.csv
1|of its border: they are at x 600000 to 600010|slope.tif beside.gpkg
1|within half a cell of its border: they are at x 500001 to 500048|slope.tif border.gpkg
1|have no length|slope.tif dots.gpkg
1|need an --interval|slope.tif huge.gpkg
105|--out: folder.gpkg is not a file|slope.tif flat.gpkg --out folder.gpkg
END

# A full disk: what was there stays, and nothing else.
cp sample.gpkg before.gpkg
found=0
(
    trap '' XFSZ
    ulimit -f 2000
    "$gis" "$data/jacksboro.asc" "$data/jacksboro_streams.geojson" --max-points 20000 --out sample.gpkg >out.txt 2>&1
) || found=$?
same "status with a full disk" 1 "$found"
cmp sample.gpkg before.gpkg
! compgen -G '*.unfinished*' || fail "unfinished files are left"
