"""The Python module over an installed library.

    nimblTest.py numpy|plain PREFIX SCENES

"numpy": with numpy and xarray. "plain": as on a machine that has neither. SCENES holds images with
one count in each quarter of the disk below 140.7 E, and their values in expected.txt.
"""
import ctypes
import math
import pathlib
import subprocess
import sys
import tempfile
import unittest

KIND, PREFIX, SCENES = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
if KIND == "plain":
    sys.modules["numpy"] = sys.modules["xarray"] = None

import nimbl  # noqa: E402

COUNTS = (1000, 1700, 2400, 3100)  # NW, NE, SW, SE
KELVIN, ALBEDO = [[float(word) for word in line.split()]
                  for line in (SCENES / "expected.txt").read_text().splitlines()]
PLACES = ((130.7, 10.0), (150.7, 10.0), (130.7, -10.0), (150.7, -10.0))
INFRARED = SCENES / "infrared.dat"
SETUP = {"STDLON": 80, "STDLAT": 60, "STDXSIZ": 2.5, "STDYSIZ": 2, "STDXNUM": 61, "STDYNUM": 41}
CELLS = [(round((60 - lat) / 2), round((lon - 80) / 2.5)) for lon, lat in PLACES]
LIMB = (0, 60)  # 230 E, 60 N


def shape(plane):
    return len(plane), len(plane[0])


class Records(unittest.TestCase):
    def test_records_lie_as_the_compiler_lays_them_out(self):
        records = (nimbl.NbPointInfo, nimbl.NbZoomRect, nimbl.NbProjPara, nimbl.NbSatObject)
        lines = []
        for record in records:
            name = record.__name__
            lines.append('printf("%%zu\\n", sizeof(%s));' % name)
            lines += ['printf("%%zu %%zu\\n", offsetof(%s, %s), sizeof(((%s*)0)->%s));'
                      % (name, field[0], name, field[0]) for field in record._fields_]
        with tempfile.TemporaryDirectory() as folder:
            source, program = folder + "/layout.c", folder + "/layout"
            with open(source, "w") as file:
                file.write("#include <nimbl.h>\n#include <stddef.h>\n#include <stdio.h>\n"
                           "int main(void)\n{\n%s\nreturn 0;\n}\n" % "\n".join(lines))
            subprocess.run(["cc", "-I%s/include/nimbl" % PREFIX, source, "-o", program], check=True)
            told = subprocess.run([program], check=True, capture_output=True, text=True).stdout
        ours = []
        for record in records:
            ours.append("%d" % ctypes.sizeof(record))
            ours += ["%d %d" % (getattr(record, f[0]).offset, getattr(record, f[0]).size)
                     for f in record._fields_]
        self.assertEqual(told.split("\n")[:-1], ours)


class Images(unittest.TestCase):
    def test_library_is_that_of_the_prefix(self):
        self.assertTrue(nimbl._nb()._name.startswith(str(PREFIX)), nimbl._nb()._name)

    def test_file_tells_its_satellite_times_and_channels(self):
        with nimbl.open(INFRARED) as image:
            self.assertEqual(image.satellite, "Himawari-8")
            self.assertEqual(image.start_time.isoformat(), "2020-08-01T03:00:20")
            [channel] = image.channels()
            self.assertEqual(channel[:2], (0, "B13"))
            self.assertEqual(channel.elements, ["B13", "B13_T", "B13_R"])
            self.assertEqual((channel.pixels, channel.lines, channel.levels), (110, 110, 4096))

    def test_value_at_a_place_is_that_of_its_quarter(self):
        with nimbl.open(INFRARED) as image:
            for (lon, lat), count, kelvin in zip(PLACES, COUNTS, KELVIN):
                self.assertAlmostEqual(image.read("B13_T", lon=lon, lat=lat), kelvin, places=3)
                self.assertEqual(image.read("B13", lon=lon, lat=lat), count)
            lons, lats = zip(*PLACES, (320.0, 0.0))
            values = list(image.read("B13_T", lon=lons, lat=lats))
            self.assertTrue(all(abs(a - b) < 1e-3 for a, b in zip(values, KELVIN)), values)
            self.assertTrue(math.isnan(values[4]))

    def test_place_below_the_satellite_is_the_centre_and_comes_back(self):
        with nimbl.open(INFRARED) as image:
            pixel, line = image.lonlat_to_pixel(140.7, 0.0)
            self.assertAlmostEqual(pixel, 54.5, places=2)
            self.assertAlmostEqual(line, 54.5, places=2)
            lon, lat = image.pixel_to_lonlat(*image.lonlat_to_pixel(150.0, 20.0))
            self.assertAlmostEqual(lon, 150, places=3)
            self.assertAlmostEqual(lat, 20, places=3)
            self.assertTrue(math.isnan(image.lonlat_to_pixel(320.0, 0.0)[0]))

    def test_rectangle_and_whole_image_have_the_counts(self):
        with nimbl.open(INFRARED) as image:
            rect = image.read("B13", rect=(54, 54, 2, 2))
            self.assertEqual([int(v) for row in rect for v in row], list(COUNTS))
            whole = image.read("B13_T")
            self.assertEqual((len(whole), len(whole[0])), (110, 110))
            self.assertAlmostEqual(float(whole[80][80]), KELVIN[3], places=3)

    def test_whole_image_has_the_size_of_its_channel(self):
        with nimbl.open(SCENES / "gvar.dat") as image:
            for element in ("VIS", "VIS_A", "IR1", "IR3_T", "3", "3_T"):
                whole = image.read(element)
                record = image._first()
                self.assertEqual(shape(whole), (record.lineNum, record.pixelNum), element)
                # Of the last line rectangles of values have none.
                last = image.read(element, pixel=record.pixelNum - 1, line=record.lineNum - 2)
                self.assertEqual(whole[-2][-1], last)
        with nimbl.open(SCENES / "native.dat") as image:
            self.assertEqual([c.number for c in image.channels()], [3, 8])
            for channel in image.channels():
                self.assertEqual(shape(image.read(channel.name)), (channel.lines, channel.pixels))

    def test_counts_off_the_scan_are_missing(self):
        with nimbl.open(INFRARED) as image:
            for element in ("B13", "B13_T"):
                self.assertTrue(math.isnan(image.read(element, rect=(2, 0, 1, 1))[0][0]), element)

    def test_project_puts_each_quarter_in_its_place(self):
        grid = nimbl.Map("grid", **SETUP)
        with nimbl.open(INFRARED) as image:
            values = image.project("B13_T", grid)
        for (row, column), kelvin in zip(CELLS, KELVIN):
            self.assertAlmostEqual(float(values[row][column]), kelvin, places=3)
        self.assertTrue(math.isnan(values[LIMB[0]][LIMB[1]]))

    def test_segments_act_as_one_image_and_names_may_hold_blanks(self):
        halves = [SCENES / "south half.dat", SCENES / "north half.dat"]
        with nimbl.open(halves) as image:
            for (lon, lat), kelvin in zip(PLACES, KELVIN):
                self.assertAlmostEqual(image.read("B13_T", lon=lon, lat=lat), kelvin, places=3)
            rect = image.read("B13", rect=(54, 54, 2, 2))
            self.assertEqual([int(v) for row in rect for v in row], list(COUNTS))
            whole = image.read("B13")
            self.assertEqual((len(whole), len(whole[0])), (110, 110))
            self.assertEqual((whole[20][40], whole[80][80]), (COUNTS[0], COUNTS[3]))
            values = image.project("B13_T", nimbl.Map("grid", **SETUP))
        for (row, column), kelvin in zip(CELLS, KELVIN):
            self.assertAlmostEqual(float(values[row][column]), kelvin, places=3)

    def test_failures_raise_and_say_why(self):
        with self.assertRaisesRegex(nimbl.NimblError, "nowhere.dat"):
            nimbl.open("/nowhere.dat")
        image = nimbl.open(INFRARED)
        with self.assertRaisesRegex(nimbl.NimblError, "B99_T"):
            image.read("B99_T", lon=140, lat=0)
        with self.assertRaises(TypeError):
            image.read("B13_T", lon=140)
        image.close()
        image.close()
        with self.assertRaisesRegex(nimbl.NimblError, "closed"):
            image.read("B13_T", lon=140, lat=0)


class Maps(unittest.TestCase):
    def test_mercator_columns_are_arcs_of_the_equator(self):
        map = nimbl.Map("merc", prjclon=140, stdxsiz=10, stdysiz=10)
        x, y = map.lonlat_to_xy(150.0, 35.0)  # the reference point is 140 E 35 N in (334, 250)
        self.assertAlmostEqual(x, 334 + math.radians(10) * 6378.14 / 10, places=2)
        self.assertAlmostEqual(y, 250, places=3)

    def test_centres_come_by_rows(self):
        lon, lat = nimbl.Map("grid", **SETUP).lonlat()
        self.assertEqual((len(lon), len(lon[0])), (41, 61))
        self.assertEqual((lon[3][2], lat[3][2]), (85, 54))

    def test_wrong_words_and_ranges_raise(self):
        for wrong in ({"stdxnum": 1}, {"stdlon": 181}, {"staalt": 0}, {"stdxsiz": math.nan}):
            with self.assertRaises(ValueError):
                nimbl.Map("grid", **wrong)
        with self.assertRaises(ValueError):
            nimbl.Map("equirectangular")
        with self.assertRaises(TypeError):
            nimbl.Map("grid", width=5)


class NimbexFiles(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.setup = self.folder / "setup.txt"
        self.setup.write_text("".join("%s %s\n" % item for item in SETUP.items()))

    def convert(self, *options, scene=INFRARED, setup=True):
        out = self.folder / "out.nbx"
        run = subprocess.run([PREFIX / "bin/nimbex", *options, scene, out,
                              *([self.setup] if setup else [])], capture_output=True)
        self.assertEqual(run.returncode, 0, run.stderr)
        return out

    def parts(self, data):
        """Values, longitudes, latitudes and attributes, whichever kind of result it is."""
        if KIND == "plain":
            self.assertIsInstance(data, nimbl.NimbexGrid)
            return data.values, data.lon, data.lat, data.attrs
        self.assertEqual(type(data).__name__, "Dataset")
        lon, lat = (data[n].values if n in data.coords else None for n in ("lon", "lat"))
        return data["value"].values, lon, lat, {**data.attrs, **data["value"].attrs}

    def test_every_kind_of_grid_file_gives_temperatures_and_places(self):
        # Half a step of 150 K in 256 levels; the 12-bit levels are the counts themselves.
        for options, within in ((("-b=8", "-v"), 0.3), (("-b=8", "-v", "-e"), 0.3),
                                (("-b=8",), 0.3), (("-v",), 0.001), (("-b=8", "-v", "-z"), 0.3),
                                (("-v", "-z"), 0.001), (("-b=-8", "-v"), 0.3)):
            with self.subTest(options=options):
                values, lon, lat, attrs = self.parts(nimbl.read_nimbex(self.convert(*options)))
                self.assertEqual((len(values), len(values[0])), (41, 61))
                for (row, column), kelvin in zip(CELLS, KELVIN):
                    self.assertLess(abs(float(values[row][column]) - kelvin), within)
                self.assertTrue(math.isnan(values[LIMB[0]][LIMB[1]]))
                self.assertEqual((lon[0], lon[60], lat[0], lat[40]), (80, 230, 60, -20))
                self.assertEqual((attrs["units"], attrs["satellite"]), ("K", "Himawa-8"))
                self.assertEqual(attrs["version"], "1.1" if "-v" in options else "1.0")
                self.assertRegex(attrs["start_time"], r"^2020-08-01T03:0\d:\d\d\.\d{3}$")
                if "-v" in options:
                    self.assertAlmostEqual(attrs["subsatellite_longitude"], 140.7105, places=3)
                    self.assertAlmostEqual(attrs["satellite_distance_m"] / 1000, 42166.2, places=0)

    def test_visible_file_gives_reflectances(self):
        out = self.convert("-v", "-b=10", scene=SCENES / "visible.dat")
        values, _, _, attrs = self.parts(nimbl.read_nimbex(out))
        self.assertEqual(attrs["units"], "1")
        for (row, column), albedo in zip(CELLS, ALBEDO):
            self.assertLess(abs(float(values[row][column]) - albedo), 0.001)

    def test_label_tells_the_units_and_a_level_under_a_mark_has_no_value(self):
        whole = bytearray(self.convert("-b=8").read_bytes())
        whole[256 + 1024 + 4] = 255  # the first cell; the block's mark lies over this level's entry
        patched = self.folder / "patched.nbx"
        # The last two have lost the end of their word: NIR1 to NIR3, and any of B01 to B09.
        for label, units in ((b"V2      ", "1"), (b"GOES-S2 ", "K"), (b"MTSAT-NI", "1"),
                             (b"MTSAT-B0", None)):
            whole[4:12] = label
            patched.write_bytes(whole)
            values, _, _, attrs = self.parts(nimbl.read_nimbex(patched))
            self.assertEqual(attrs.get("units"), units, label)
            self.assertTrue(math.isnan(values[0][0]))

    def test_rows_of_the_ellipsoid_take_their_latitudes_from_the_map(self):
        self.setup.write_text(self.setup.read_text() + "ELLFLG 1\n")
        out = self.convert("-v", "-b=8")
        _, lon, lat, _ = self.parts(nimbl.read_nimbex(out, nimbl.Map("grid", self.setup)))
        self.assertEqual((lon[0], lon[60]), (80, 230))
        for row in range(41):  # equal steps of the reduced latitude, on the axis ratio's ellipsoid
            reduced = math.tan(math.radians(60 - 2 * row))
            geodetic = math.degrees(math.atan(reduced / math.sqrt(1 - 0.0822719 ** 2)))
            self.assertAlmostEqual(lat[row], geodetic, places=9)
        same = {"stdxnum": 61, "stdynum": 41}
        for other in (nimbl.Map("grid", self.setup, stdxnum=62), nimbl.Map("ps", **same)):
            with self.assertRaisesRegex(nimbl.NimblError, "the map"):
                nimbl.read_nimbex(out, other)
        for word, value in (("STDLON", 81), ("STDLAT", 59), ("STDXSIZ", 2.6), ("STDYSIZ", 2.1)):
            self.setup.write_text("".join("%s %s\n" % i for i in {**SETUP, word: value}.items()))
            with self.assertRaisesRegex(nimbl.NimblError, "the map lies elsewhere"):
                nimbl.read_nimbex(out, nimbl.Map("grid", self.setup))

    def test_other_projection_takes_its_places_from_the_map(self):
        self.setup.write_text("STDXSIZ 60\nSTDYSIZ 60\nPRJCLON 140\nBITLEN 8\n")
        out = self.convert("-v", "-p=ps")
        values, lon, lat, _ = self.parts(nimbl.read_nimbex(out))
        self.assertIsNone(lon)
        map = nimbl.Map("ps", self.setup)
        values, lon, lat, _ = self.parts(nimbl.read_nimbex(out, map))
        for (place_lon, place_lat), kelvin in zip(PLACES, KELVIN):
            x, y = (round(v) for v in map.lonlat_to_xy(place_lon, place_lat))
            self.assertLess(abs(float(values[y][x]) - kelvin), 0.3)
            self.assertLess(abs(lon[y][x] - place_lon) + abs(lat[y][x] - place_lat), 1)
        for other in (nimbl.Map("ps", stdxnum=20), nimbl.Map("grid")):
            with self.assertRaisesRegex(nimbl.NimblError, "the map"):
                nimbl.read_nimbex(out, other)

    def test_setup_file_is_read_as_the_converter_reads_it(self):
        # A note, a keyword without a number (-999), letters behind one, and a text behind the end.
        self.setup.write_text("# a map\nSTDXPOS\nSTDLAT 45N STDLON 1e2 STDYPOS nan ; STDLAT 9\n")
        _, lon, lat, _ = self.parts(nimbl.read_nimbex(self.convert("-v")))
        lons, lats = nimbl.Map("grid", self.setup).lonlat()
        for west, north in ((lon[0], lat[0]), (lons[0][0], lats[0][0])):
            self.assertAlmostEqual(west, 100 + 999 * 0.06, places=3)
            self.assertEqual(north, 45)

    def test_damaged_files_raise(self):
        for options in (("-b=8", "-v"), ("-b=8", "-v", "-z")):
            whole = self.convert(*options).read_bytes()
            damaged = self.folder / "damaged.nbx"
            for length in (0, 7, 13, 14, 200, 255, 1000, len(whole) - 300):
                damaged.write_bytes(whole[:length])
                with self.assertRaises(nimbl.NimblError):
                    nimbl.read_nimbex(damaged)
        whole = self.convert("-b=8", "-v").read_bytes()
        damaged.write_bytes(whole + b"\0" * 256)
        with self.assertRaises(nimbl.NimblError):
            nimbl.read_nimbex(damaged)
        # Grid flag, step, levels, levels that reach into the closing mark, marks of table and rows.
        for edits in ({88: 2}, {100: 0}, {160: 2, 164: 255}, {160: -1, 164: 252}, {164: 100},
                      {156: 255, 160: 0, 164: 254}, {1276: 7}, {1280: 7}, {len(whole) - 4: 7}):
            edited = bytearray(whole)
            for at, number in edits.items():
                edited[at:at + 4] = number.to_bytes(4, "little", signed=True)
            damaged.write_bytes(edited)
            with self.subTest(edits=edits), self.assertRaises(nimbl.NimblError):
                nimbl.read_nimbex(damaged)
        for at in range(88, 252, 4):  # the largest and the smallest number in every field
            for number in (b"\xff\xff\xff\x7f", b"\0\0\0\x80"):
                damaged.write_bytes(whole[:at] + number + whole[at + 4:])
                try:
                    nimbl.read_nimbex(damaged)
                except nimbl.NimblError:
                    pass


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
