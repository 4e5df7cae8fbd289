"""Weather-satellite images: read them, locate them, project them, and read nimbex files.

    import nimbl

    with nimbl.open("HS_H08_20200801_0300_B13_FLDK_R20_S0101.DAT") as image:
        for channel in image.channels():
            print(channel.name, channel.elements)
        pixel, line = image.lonlat_to_pixel(135.0, 35.0)
        kelvin = image.read("B13_T", lon=135.0, lat=35.0)
        grid = image.project("B13_T", nimbl.Map("grid", stdlon=120, stdlat=50,
                                                stdxsiz=0.06, stdysiz=0.06))
    data = nimbl.read_nimbex("east-asia.nbx")        # an xarray.Dataset where xarray is installed

Longitudes and latitudes are degrees, east and north positive. Pixel and line count from 0 at the
centre of the first pixel; map columns and rows likewise, rows downward. Temperatures ("_T") are
kelvin, albedos ("_A") 0 to 1, radiances ("_R") W m^-2 sr^-1 um^-1 or mW m^-2 sr^-1 cm as the format
has them, counts (no ending) plain numbers. What has no value is a not-a-number.

numpy is optional: with it arrays go in and come out, without it sequences go in, lists and
array.array rows come out. One number gives one number in both cases.

The shared library is looked for in $NIMBL_LIBRARY (its path), beside this file, in the prefix where
this file is installed, and where the system's loader looks. Threads take turns in it, call by
call; an Image is for one thread.
"""
import array
import collections
import ctypes
import datetime
import glob
import os
import re
import struct
import sys

try:
    import numpy
except ImportError:
    numpy = None

__all__ = ["open", "Image", "Channel", "Map", "NimblError", "read_nimbex", "NimbexGrid"]
__version__ = "0.1.0"

_NONE = -9999.0  # a position without a value
_NAN = float("nan")
_MOST = 32767  # the library counts pixels and lines in 16 bits
_BLOCK = 64  # lines that are read at once
_builtin_open = open


class NimblError(Exception):
    """A file that does not open or is not whole, or an operation that the library refused."""


# The library


class NbPointInfo(ctypes.Structure):
    """Geometry of a point: MJD, degrees, km."""
    _fields_ = [(name, ctypes.c_double) for name in (
        "time", "satZenith", "satAzimuth", "sunZenith", "sunAzimuth", "satSunAngle",
        "glintAngle", "satDistance", "sunDistance", "phaseAngle")]


class NbZoomRect(ctypes.Structure):
    """A rectangle of the image and the size of its output."""
    _fields_ = [("startPixel", ctypes.c_int16), ("startLine", ctypes.c_int16),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("outWidth", ctypes.c_int16), ("outHeight", ctypes.c_int16)]


class NbProjPara(ctypes.Structure):
    """A map as the library takes it; see Map."""
    _fields_ = [("prjType", ctypes.c_int16), ("ellipsoid", ctypes.c_int16),
                ("stdLon", ctypes.c_double), ("stdLat1", ctypes.c_double),
                ("stdLat2", ctypes.c_double), ("height", ctypes.c_double),
                ("baseX", ctypes.c_float), ("baseY", ctypes.c_float),
                ("baseLon", ctypes.c_double), ("baseLat", ctypes.c_double),
                ("stepX", ctypes.c_double), ("stepY", ctypes.c_double),
                ("lonLatToXY", ctypes.c_void_p), ("xyToLonLat", ctypes.c_void_p),
                ("xNum", ctypes.c_int32), ("yNum", ctypes.c_int32),
                ("roughX", ctypes.c_int32), ("roughY", ctypes.c_int32)]


class NbSatObject(ctypes.Structure):
    """An open file as the library holds it; see Image."""
    _fields_ = [("satName", ctypes.c_char * 16), ("fileName", ctypes.c_char_p),
                ("startTime", ctypes.c_int16 * 6), ("elemName", ctypes.c_char_p),
                ("fileFormatId", ctypes.c_int32), ("privateData", ctypes.c_void_p),
                ("elemNum", ctypes.c_int16), ("pixelNum", ctypes.c_int16),
                ("lineNum", ctypes.c_int16), ("levelNum", ctypes.c_int16),
                ("elemKind", ctypes.c_int16), ("errorValue", ctypes.c_float),
                ("objectNum", ctypes.c_int16), ("objectIndex", ctypes.c_int16),
                ("endTime", ctypes.c_int16 * 6), ("intpMethod", ctypes.c_int16),
                ("intpTable", ctypes.c_void_p), ("lut", ctypes.c_void_p)]
    _fields_ += [(slot, ctypes.c_void_p) for slot in (
        "GetChNum", "GetChInfo", "LonLatHgtToPixLinInfo", "PixLinToLonLatInfo", "SetElements",
        "GetCalTable", "GetI2DataByPixLin", "GetR4DataByPixLin", "GetI2ZoomData", "GetR4ZoomData",
        "CloseFile", "SetStopGap", "SetShift", "GetChannel", "GetSatPosEf", "GetSatAtt",
        "ResetAtt")]


# Releases of one minor version have one interface.
_SONAME = "libnimbl.so." + __version__.rpartition(".")[0]


def _library_places():
    if os.environ.get("NIMBL_LIBRARY"):
        return [os.environ["NIMBL_LIBRARY"]]
    here = os.path.dirname(os.path.abspath(__file__))
    places = [os.path.join(here, _SONAME)]
    above = here
    for _ in range(4):  # lib/python3/dist-packages, or a folder less or more
        above = os.path.dirname(above)
        for folder in ("lib", "lib64", "lib/*-linux-*"):
            places += sorted(glob.glob(os.path.join(glob.escape(above), folder, _SONAME)))
    return [place for place in places if os.path.exists(place)] + [_SONAME]


def _load():
    try:
        # The library has state of its own. Its calls keep the interpreter's lock, so that no other
        # thread, nor an Image that the garbage collector closes there, enters it meanwhile.
        library = ctypes.PyDLL(_library_places()[0])
    except OSError as error:
        raise NimblError("the library %s does not load (%s); NIMBL_LIBRARY may hold its path"
                         % (_SONAME, error)) from None
    integer, record = ctypes.c_int, ctypes.POINTER(NbSatObject)
    floats, doubles = ctypes.POINTER(ctypes.c_float), ctypes.POINTER(ctypes.c_double)
    integers, text = ctypes.POINTER(ctypes.c_int), ctypes.c_char_p
    projection = ctypes.POINTER(NbProjPara)
    for name, arguments in {
            "nbSatMopenObject": (record, ctypes.POINTER(text), integer, integer),
            "nbSatCloseObject": (record,),
            "nbSatGetChNum": (record,),
            "nbSatGetChInfo": (record, integer, integers, integers, integers, text),
            "nbSatSetElems": (record, text),
            "nbSatLonLatToPixLin": (record, doubles, doubles, floats, floats, integer),
            "nbSatPixLinToLonLat": (record, floats, floats, doubles, doubles, integer),
            "nbSatGetR4DataByPixLin": (record, floats, floats, floats, integer),
            "nbSatGetR4ZoomData": (record, ctypes.POINTER(NbZoomRect), floats),
            "nbSatGetR4ProjData": (record, projection, floats, integer, integer,
                                   doubles, ctypes.POINTER(ctypes.c_uint8)),
            "nbSatGetNavInfo": (record, doubles, doubles, doubles, doubles),
            "nbProjLonLatToXY": (doubles, doubles, floats, floats, integer, projection),
            "nbProjXYToLonLat": (floats, floats, doubles, doubles, integer, projection)}.items():
        function = getattr(library, name)
        function.argtypes = arguments
        function.restype = integer
    return library


_loaded = None


def _nb():
    global _loaded
    if _loaded is None:
        _loaded = _load()
    return _loaded


# Arrays in and out


class _Points:
    """Coordinates of one shape as flat C arrays, and results in that shape."""

    def __init__(self, kind, *given):
        if numpy is not None:
            arrays = numpy.broadcast_arrays(*[numpy.asarray(g, dtype=float) for g in given])
            self.shape = arrays[0].shape
            columns = [[a.size, numpy.ascontiguousarray(a, dtype=kind)] for a in arrays]
        else:
            self.shape = None if all(hasattr(g, "__len__") for g in given) else ()
            columns = [[len(g), array.array(_code(kind), g)] if hasattr(g, "__len__")
                       else [1, array.array(_code(kind), [g])] for g in given]
        self.n = columns[0][0]
        if any(n != self.n for n, _ in columns):
            raise ValueError("the coordinates have different lengths")
        self.flat = [(kind * self.n).from_buffer_copy(values) for _, values in columns]

    def back(self, values):
        """A C array of n results; the marks become not-a-numbers."""
        if numpy is None:
            out = [_NAN if v == _NONE else v for v in values]
            return out[0] if self.shape == () else out
        out = numpy.array(values)
        out[out == _NONE] = _NAN
        return out.reshape(self.shape) if self.shape else out.item()


def _code(kind):
    return "f" if kind is ctypes.c_float else "d"


def _plane(values, rows, columns):
    """Rows of a C array of floats: an array of numpy, or a list of array.array."""
    if numpy is not None:
        return numpy.ctypeslib.as_array(values).reshape(rows, columns)
    flat = array.array("f", values)
    return [flat[row * columns:(row + 1) * columns] for row in range(rows)]


def _mask(values, errors):
    """Replaces the values of a C array that mark missing samples."""
    if numpy is not None:
        view = numpy.ctypeslib.as_array(values)
        for error in errors:
            view[view == error] = _NAN
    else:
        for i, value in enumerate(values):
            if value in errors:
                values[i] = _NAN


# Maps

# Ranges that the converter's setup file takes: lowest, highest, whether the lowest itself counts.
_ANY = (-3.4028234e38, 3.4028234e38, True)  # of a float
_ABOVE_0 = (0, sys.float_info.max, False)
_ABOVE_1 = (1, sys.float_info.max, False)
_KEYWORDS = {
    "PRJCLON": ("stdLon", (-180, 180, True)), "PRJCLAT": ("stdLat1", (-90, 90, True)),
    "PRJCLAT2": ("stdLat2", (-90, 90, True)), "STAALT": ("height", _ABOVE_0),
    "ELLFLG": ("ellipsoid", _ABOVE_0), "STDXPOS": ("baseX", _ANY), "STDYPOS": ("baseY", _ANY),
    "STDLON": ("baseLon", (-180, 180, True)), "STDLAT": ("baseLat", (-90, 90, True)),
    "STDXSIZ": ("stepX", _ABOVE_0), "STDYSIZ": ("stepY", _ABOVE_0),
    "STDXNUM": ("xNum", _ABOVE_1), "STDYNUM": ("yNum", _ABOVE_1)}
# Type, stdLon, stdLat1, stdLat2, height, baseX, baseY, baseLon, baseLat, extent of 500 steps.
_PROJECTIONS = {
    "ps": (2, 135, 90, 0, 0, 334, 250, 135, 35, 5000),
    "disk": (1, 140, 0, 0, 36000, 250, 250, 140, 0, 12000),
    "grid": (5, 0, 0, 0, 0, 0, 0, 120, 50, 30),
    "merc": (4, 140, 0, 0, 0, 334, 250, 140, 35, 5000),
    "lamb": (3, 135, 60, 0, 0, 334, 250, 135, 35, 5000)}
_MOST_CELLS = 1 << 31


class Map:
    """A map grid, described like those of the converter.

    projection: "grid" (longitude and latitude), "ps" (stereographic), "disk" (the globe from a
    height), "merc" (Mercator) or "lamb" (Lambert conformal conic).
    setup: path of a setup file of the converter, read as the converter reads it; without it the
    converter's own map.
    Keywords, in either case, go before the setup file: prjclon, prjclat, prjclat2 (degrees),
    staalt (km), ellflg, stdxpos, stdypos (cells), stdlon, stdlat (degrees), stdxsiz, stdysiz (km a
    cell; degrees for "grid"), stdxnum, stdynum (cells).
    roughness: exact positions at every so many cells, bilinear between; 1 makes all exact.
    """

    def __init__(self, projection="grid", setup=None, roughness=6, **keywords):
        if projection not in _PROJECTIONS:
            raise ValueError("projection %r is none of %s" % (projection, ", ".join(_PROJECTIONS)))
        self.projection = projection
        row = _PROJECTIONS[projection]
        step = row[9] / 500
        self.para = NbProjPara(prjType=row[0], stdLon=row[1], stdLat1=row[2], stdLat2=row[3],
                               height=row[4], baseX=row[5], baseY=row[6], baseLon=row[7],
                               baseLat=row[8], stepX=step, stepY=step, xNum=501, yNum=501,
                               roughX=roughness, roughY=roughness)
        for word, value in _setup_records(setup):
            if word in _KEYWORDS:
                self._set(word, value)  # out of range: the default stays
        for word, value in keywords.items():
            if word.upper() not in _KEYWORDS:
                raise TypeError("a map has no keyword %r" % word)
            if not self._set(word.upper(), float(value)):
                raise ValueError("%s: %r is out of range" % (word, value))
        if self.columns * self.rows >= _MOST_CELLS:
            raise ValueError("a map of %d x %d cells" % (self.columns, self.rows))

    def _set(self, word, value):
        field, (low, high, inclusive) = _KEYWORDS[word]
        if not low <= value <= high or (value == low and not inclusive):
            return False
        if field in ("xNum", "yNum"):
            value = int(value + 0.5)
            if value >= _MOST_CELLS:
                return False
        elif field == "ellipsoid":
            value = 1
        setattr(self.para, field, value)
        return True

    @property
    def columns(self):
        """Number of columns."""
        return self.para.xNum

    @property
    def rows(self):
        """Number of rows."""
        return self.para.yNum

    def lonlat_to_xy(self, lon, lat):
        """Column and row (0-based, may lie outside or between cells) of places in degrees."""
        points = _Points(ctypes.c_double, lon, lat)
        return self._convert(_nb().nbProjLonLatToXY, points, ctypes.c_float)

    def xy_to_lonlat(self, x, y):
        """Longitude and latitude, degrees, of columns and rows."""
        points = _Points(ctypes.c_float, x, y)
        return self._convert(_nb().nbProjXYToLonLat, points, ctypes.c_double)

    def _convert(self, function, points, kind):
        out = [(kind * points.n)(), (kind * points.n)()]
        if points.n and function(*points.flat, *out, points.n, self.para) < 0:
            raise NimblError("the map has a parameter out of range")
        return tuple(points.back(values) for values in out)

    def lonlat(self):
        """Longitudes and latitudes, degrees, of the centres of all cells: two planes of rows."""
        if numpy is not None:
            return self.xy_to_lonlat(*numpy.meshgrid(numpy.arange(self.columns),
                                                     numpy.arange(self.rows)))
        lines = [self.xy_to_lonlat(list(range(self.columns)), [y] * self.columns)
                 for y in range(self.rows)]
        return [line[0] for line in lines], [line[1] for line in lines]


def _setup_records(path):
    """Keywords and numbers of a setup file, up to ";", as the converter reads them.

    What stands behind a keyword and is no number is the next keyword, and the first has -999.
    """
    if path is None:
        return
    with _builtin_open(path, encoding="latin-1") as file:
        text = file.read(1 << 20)
    record = re.compile(r"\s*(\S+)(?:\s+([-+]?(?:(?:\d+\.?\d*|\.\d+)(?:e[-+]?\d+)?|inf|nan)))?",
                        re.ASCII | re.IGNORECASE)
    at = record.match(text)
    while at and at[1] != ";":
        yield at[1], float(at[2] or -999)
        at = record.match(text, at.end())


# Images

Channel = collections.namedtuple(
    "Channel", "number name names elements comment pixels lines levels")
Channel.__doc__ = """A channel: its number from 0, first name, all names, the elements that
Image.read takes for it (the counts first), the file's comment, pixels a line, lines, levels."""


def open(path):
    """Opens an image file, or a list of segment files of one image.

    A path may end in "?type=word" to choose the format without looking. Raises NimblError when
    it, or of a list all of them, cannot be opened. Use the result in a with statement or close it.
    """
    return Image([path] if isinstance(path, (str, bytes, os.PathLike)) else path)


class Image:
    """An open image: one file, or segments that act as one. Made by nimbl.open."""

    def __init__(self, paths):
        self._records = ()
        self._element = None
        self._last = 0  # place of the file that gave the samples of a block
        names = [os.fsencode(path) for path in paths]
        if not names:
            raise NimblError("a list without files")
        records = (NbSatObject * len(names))()
        count = 0
        for name in names:
            # The library takes a blank for the mark of a list, but not here.
            one = (ctypes.c_char_p * 1)(name)
            if _nb().nbSatMopenObject(records[count], one, 1, 0) == 1:
                count += 1
            else:
                records[count] = NbSatObject()
        if count == 0:
            raise NimblError("%s: no image that can be read" % os.fsdecode(names[0]))
        self._all = records
        self._records = [records[i] for i in range(count)]
        for i, record in enumerate(self._records):
            record.objectNum, record.objectIndex = count, i

    def close(self):
        """Closes the files; twice does no harm."""
        for record in self._records:
            _nb().nbSatCloseObject(record)
        self._records = ()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __del__(self):
        self.close()

    def _first(self):
        if not self._records:
            raise NimblError("the image is closed")
        return self._records[0]

    @property
    def satellite(self):
        """Satellite name as the file has it."""
        return self._first().satName.decode("utf-8", "replace").strip()

    @property
    def start_time(self):
        """Start of the observation, UTC; None when the file does not tell."""
        self._first()
        return min((t for t in (_time(*r.startTime) for r in self._records) if t), default=None)

    @property
    def end_time(self):
        """End of the observation, UTC; None when the file does not tell."""
        self._first()
        return max((t for t in (_time(*r.endTime) for r in self._records) if t), default=None)

    @property
    def subpoint(self):
        """Longitude and latitude below the satellite, degrees."""
        ssp = (ctypes.c_double * 2)()
        _nb().nbSatGetNavInfo(self._first(), ssp, None, None, None)
        return tuple(_NAN if v == _NONE else v for v in ssp)

    def channels(self):
        """The channels of the file, as a list of Channel. A segment counts the lines above it."""
        return self._channels_of(self._first())

    @staticmethod
    def _channels_of(record):
        found = []
        # Native files number what they may hold, and count what they do.
        native = record.fileFormatId == 12
        for number in range(12 if native else _nb().nbSatGetChNum(record)):
            sizes = [ctypes.c_int() for _ in range(3)]
            text = ctypes.create_string_buffer(1024)
            if _nb().nbSatGetChInfo(record, number, *sizes, text) != 0:
                continue
            if native and sizes[0].value == 0:
                continue
            parts = (text.value.decode("utf-8", "replace") + "//").split("/")
            names, physics = [[w for w in p.split(",") if w] for p in parts[:2]]
            name = names[0] if names else ""
            found.append(Channel(number, name, names, [name] + [name + p for p in physics],
                                 parts[2].strip(","), *[size.value for size in sizes]))
        return found

    def lonlat_to_pixel(self, lon, lat):
        """Pixel and line of places in degrees, in the whole image; nan where it shows none."""
        return self._navigate(_nb().nbSatLonLatToPixLin, _Points(ctypes.c_double, lon, lat),
                              ctypes.c_float)

    def pixel_to_lonlat(self, pixel, line):
        """Longitude and latitude, degrees, of pixels and lines; nan off the earth."""
        return self._navigate(_nb().nbSatPixLinToLonLat, _Points(ctypes.c_float, pixel, line),
                              ctypes.c_double)

    def _navigate(self, function, points, kind):
        self._first()
        out = [(kind * points.n)(), (kind * points.n)()]
        for record in self._records:
            a, b = (kind * points.n)(*[_NONE] * points.n), (kind * points.n)(*[_NONE] * points.n)
            if points.n:
                function(record, *points.flat, a, b, points.n)
            if record is self._records[0]:
                out = [a, b]
            else:
                _fill(out[0], a, _NONE)
                _fill(out[1], b, _NONE)
        return tuple(points.back(values) for values in out)

    def _select(self, element):
        record = self._first()
        if element != self._element:
            self._element = None
            if _nb().nbSatSetElems(record, element.encode()) < 1:
                raise NimblError("the image has no element %r" % element)
            self._element = element
        if record.elemNum != 1:
            raise NimblError("element %r has %d values a pixel" % (element, record.elemNum))
        outside = {-2.0} if record.elemKind == 0 else set()  # counts off the scan
        return {-1.0, *outside, *(r.errorValue for r in self._records)}

    def read(self, element, lon=None, lat=None, pixel=None, line=None, rect=None):
        """Values of an element such as "B13_T" (kelvin) or "B13" (counts); nan where missing.

        At places (lon and lat, degrees), at image positions (pixel and line; the nearest sample),
        of a rectangle (rect = first pixel, first line, width, height) or, with none of these,
        of the whole image.
        """
        if (lon is None) != (lat is None) or (pixel is None) != (line is None):
            raise TypeError("a place has two coordinates")
        errors = self._select(element)
        if lon is not None:
            pixel, line = self.lonlat_to_pixel(lon, lat)
        if pixel is not None:
            points = _Points(ctypes.c_float, pixel, line)

            def sample(record, out):
                return _nb().nbSatGetR4DataByPixLin(record, *points.flat, out, points.n)

            return points.back(self._samples(sample, points.n, errors) if points.n else [])
        x, y, width, height = rect or (0, 0, *self._size())
        if not (0 <= x and 0 <= y and 0 < width <= _MOST - x and 0 < height <= _MOST - y):
            raise ValueError("a rectangle outside of any image")
        out = (ctypes.c_float * (width * height))()
        for first in range(0, height, _BLOCK):  # few segments have a share in a block of lines
            rows = min(_BLOCK, height - first)
            zoom = NbZoomRect(x, y + first, width, rows, width, rows)
            block = self._samples(lambda record, part: _nb().nbSatGetR4ZoomData(record, zoom, part),
                                  width * rows, errors, width)
            ctypes.memmove(ctypes.addressof(out) + 4 * first * width, block, 4 * rows * width)
        return _plane(out, height, width)

    def _size(self):
        """Pixels and lines of the whole image of the element selected."""
        sizes = []
        for record in self._records:
            channels = self._channels_of(record)
            # Of several channels the record has the size of its own; the only one of a file tells
            # that of the image, where the record may have that of a segment.
            one = len(channels) == 1
            sizes.append((channels[0].pixels, channels[0].lines) if one
                         else (record.pixelNum, record.lineNum))
        return tuple(map(max, zip(*sizes)))

    def _samples(self, call, n, errors, columns=0):
        """Results of `call` on each file, laid over each other.

        With `columns`: until each row has a value, beginning with the file that gave some last.
        """
        merged = None
        for record in self._records[self._last:] + self._records[:self._last]:
            out = (ctypes.c_float * n).from_buffer_copy(array.array("f", [-1.0]) * n)
            if call(record, out) < 0:
                continue
            _mask(out, errors)
            if merged is None:
                merged = out
            else:
                _fill(merged, out, None)
            if columns and _has_rows(merged, columns):
                self._last = record.objectIndex
                break
        if merged is None:
            raise NimblError("the samples of %r cannot be read" % self._element)
        return merged

    def project(self, element, map, overlap=1):
        """Values of an element at every cell of a Map, rows from the top; nan where missing.

        overlap: which file gives a cell that several cover: 1 the latest, 2 the earliest; 3 and 4
        by the time of the point; 5 the finest, 6 the coarsest; 7 the smallest, 8 the largest
        sample; 9 the smallest, 10 the largest satellite zenith angle.
        """
        errors = self._select(element)
        out = (ctypes.c_float * (map.columns * map.rows))()
        if _nb().nbSatGetR4ProjData(self._first(), map.para, out, overlap, 0, None, None) < 0:
            raise NimblError("%r cannot be projected on this map" % element)
        _mask(out, errors)
        return _plane(out, map.rows, map.columns)


def _has_rows(values, columns):
    """Whether each row of a C array holds a number."""
    if numpy is not None:
        plane = numpy.ctypeslib.as_array(values).reshape(-1, columns)
        return not numpy.isnan(plane).all(axis=1).any()
    return all(any(v == v for v in values[at:at + columns])
               for at in range(0, len(values), columns))


def _fill(target, source, missing):
    """Takes from `source` what `target` has not: `missing`, or not-a-numbers for None."""
    if numpy is not None:
        target, source = numpy.ctypeslib.as_array(target), numpy.ctypeslib.as_array(source)
        at = numpy.isnan(target) if missing is None else target == missing
        target[at] = source[at]
        return
    for i, value in enumerate(target):
        if value == missing or (missing is None and value != value):
            target[i] = source[i]


def _time(year, month, day, hour, minute, second, millisecond=0):
    """A time of a file; None for one that no calendar has. Fields may overflow by a little."""
    try:
        return datetime.datetime(year, month, day) + datetime.timedelta(
            hours=hour, minutes=minute, seconds=second, milliseconds=millisecond)
    except (ValueError, OverflowError):
        return None


# Result files


class NimbexGrid:
    """A nimbex file: what read_nimbex gives where xarray is not installed.

    values: rows of physical values, nan where missing. levels: the cells as they stand in the file.
    lon, lat: degrees; of columns and rows for the grid projection, of every cell when a map
    was given, otherwise None. attrs: what the header tells.
    """

    def __init__(self, values, levels, lon, lat, is_grid, attrs):
        self.values, self.levels = values, levels
        self.lon, self.lat, self.is_grid, self.attrs = lon, lat, is_grid, attrs

    def to_dataset(self):
        """The same as an xarray.Dataset with the variable "value"."""
        import xarray
        dims = ("lat", "lon") if self.is_grid else ("y", "x")
        coords = {}
        if self.lon is not None:
            own = (("lat",), ("lon",)) if self.is_grid else (dims, dims)
            coords = {"lat": (own[0], self.lat, {"units": "degrees_north",
                                                 "standard_name": "latitude"}),
                      "lon": (own[1], self.lon, {"units": "degrees_east",
                                                 "standard_name": "longitude"})}
        if not self.is_grid:
            coords.update(x=("x", list(range(len(self.values[0])))),
                          y=("y", list(range(len(self.values)))))
        about = {key: self.attrs[key] for key in ("units", "long_name") if key in self.attrs}
        return xarray.Dataset({"value": (dims, self.values, about)}, coords=coords,
                              attrs={k: v for k, v in self.attrs.items() if k not in about})


def read_nimbex(path, map=None):
    """Reads a file that nimbex wrote, compressed (-z) or not, of any version.

    Gives an xarray.Dataset where xarray is installed, otherwise a NimbexGrid. The variable "value"
    holds physical values: kelvin, or reflectances 0 to 1 (units "1"), by the word of the label; it
    has no units when the word, cut off at 8 characters, may be either. Files of the grid projection
    bring the longitudes and latitudes of their cells, degrees; only ELLFLG needs a map for the
    latitudes. For other projections hand over the Map that the conversion used, or get columns and
    rows alone. Raises NimblError for a damaged file, and for a map that is not its own.
    """
    with _builtin_open(path, "rb") as file:
        data = file.read()
    grid = _parse(os.fsdecode(path), _expand(data, path), map)
    try:
        return grid.to_dataset()
    except ImportError:
        return grid


def _parse(path, data, map):
    def need(condition, what):
        if not condition:
            raise NimblError("%s: %s" % (path, what))

    need(len(data) >= 260 and data[0:4] == data[252:256] == b"\0\1\0\0", "not a nimbex file")
    word = lambda at: struct.unpack_from("<i", data, at)[0]
    mark = lambda at: struct.unpack_from("<I", data, at)[0]
    real = lambda at: _shortest(struct.unpack_from("<f", data, at)[0])
    text = lambda at, n: data[at:at + n].split(b"\0")[0].decode("ascii", "replace").strip()
    is_grid = word(88) == 1
    columns, rows = (word(108), word(112)) if is_grid else (word(92), word(96))
    row_bytes, size, table_bytes = 256 * mark(116), word(120), mark(256)
    need(word(88) in (0, 1) and columns > 0 and rows > 0 and size in (1, 2)
         and row_bytes >= columns * size + 8, "the sizes in the header do not fit each other")
    need(not is_grid or (real(100) > 0 and real(104) > 0), "the grid has no steps")
    count, low, high = word(156), word(160), word(164)
    need(low in (0, 1) and 0 < count <= 65536 and high == low + count - 1,
         "the levels in the header do not fit each other")
    start = 256 + table_bytes
    need(table_bytes % 256 == 0 and (count + 2) * 4 <= table_bytes and start <= len(data)
         and mark(start - 4) == table_bytes, "the level table does not fit its block")
    need(start + rows * row_bytes == len(data), "it has %d bytes, its header says %d"
         % (len(data), start + rows * row_bytes))
    for at in range(start, len(data), row_bytes):
        need(mark(at) == row_bytes == mark(at + row_bytes - 4),
             "row %d does not stand between its marks" % ((at - start) // row_bytes))

    # The first usable level stands behind the block's mark. A level 0 below it has no value.
    table = [_NAN] * low + list(struct.unpack_from("<%df" % count, data, 260))
    version = text(248, 4) or "1.0"
    full = 255 if size == 1 else 65535
    values_of = (table + [_NAN] * (full + 1 - len(table)))[:full + 1]
    values_of[full if version != "1.0" else 0] = _NAN
    values, levels = _cells(data, start, rows, columns, row_bytes, size, values_of)

    attrs = {"label": text(4, 8), "satellite": text(12, 8), "version": version,
             "correction": word(168)}
    for key, at in (("start_time", 24), ("end_time", 56)):
        fields = struct.unpack_from("<8i", data, at)
        time = _time(fields[0] * 100 + fields[1], *fields[2:])
        attrs[key] = time.isoformat(timespec="milliseconds") if time else ""
    if version != "1.0":
        names = ("attitude_0", "attitude_1", "attitude_2", "subsatellite_latitude",
                 "subsatellite_longitude", "satellite_distance_m")
        attrs.update((name, real(192 + 4 * i)) for i, name in enumerate(names))
    attrs.update(_quantity(attrs["label"]))

    lon = lat = None
    if map is not None:
        need((columns, rows) == (map.columns, map.rows), "it has %d x %d cells, the map %d x %d"
             % (columns, rows, map.columns, map.rows))
        need(is_grid == (map.projection == "grid"), "the map is of another projection")
        attrs["projection"] = map.projection
    if is_grid:
        west, north, step_x, step_y = real(128), real(124), real(100), real(104)
        lon = [west + i * step_x for i in range(columns)]  # not the map's: these run on past 180
        lat = [north - i * step_y for i in range(rows)]
        if map is not None:
            own, near = map.para, 0.05  # of a cell: the header has floats
            need(abs(own.stepX / step_x - 1) < 1e-5 and abs(own.stepY / step_y - 1) < 1e-5
                 and abs(own.baseLat + own.baseY * own.stepY - north) < near * step_y
                 and abs((own.baseLon - own.baseX * own.stepX - west + 180) % 360 - 180)
                 < near * step_x, "the map lies elsewhere")
            _, lat = map.xy_to_lonlat([0] * rows, list(range(rows)))
    elif map is not None:
        lon, lat = map.lonlat()
    return NimbexGrid(values, levels, lon, lat, is_grid, attrs)


# The words at the end of a label, in all three forms that a channel's name has.
_QUANTITIES = [
    ({"long_name": "reflectance", "units": "1"},
     "V1 VIS1 B01 V2 VIS2 B02 VS VIS3 B03 N1 NIR1 B04 N2 NIR2 B05 N3 NIR3 B06 V3"),
    ({"long_name": "brightness temperature", "units": "K"},
     "I4 SWIR B07 WV WV1 B08 W2 WV2 B09 W3 WV3 B10 MI MWIR B11 O3 B12 IR LWIR1 B13 L2 LWIR2 B14 "
     "I2 LWIR3 B15 CO CO2 B16"),
    ({"long_name": "temperature difference", "units": "K"}, "SP S2 S3"),
]


def _quantity(label):
    """What the values of a file are, by the word at the end of its label.

    A label of 8 characters may have lost the end of its word: it is what all words are that begin
    so. Without units when that is not one thing, or the word is unknown.
    """
    word = label.rpartition("-")[2]
    for matches in (lambda w: w == word, lambda w: word and len(label) == 8 and w.startswith(word)):
        found = [about for about, words in _QUANTITIES if any(map(matches, words.split()))]
        if len(found) == 1:
            return found[0]
    return {"long_name": "value"}


def _cells(data, start, rows, columns, row_bytes, size, values_of):
    """Planes of values and of levels."""
    if numpy is not None:
        levels = numpy.ndarray((rows, columns), "<u%d" % size, data, start + 4,
                               (row_bytes, size)).copy()
        return numpy.array(values_of, dtype=numpy.float32)[levels], levels
    levels = [array.array("B" if size == 1 else "H", data[at:at + columns * size])
              for at in range(start + 4, start + 4 + rows * row_bytes, row_bytes)]
    if size == 2 and sys.byteorder == "big":
        for row in levels:
            row.byteswap()
    return [array.array("f", [values_of[level] for level in row]) for row in levels], levels


def _shortest(single):
    """The decimal number with the fewest digits that is this single-precision number."""
    if single != single or single in (float("inf"), float("-inf")):
        return single
    for digits in range(6, 10):
        number = float("%.*g" % (digits, single))
        if abs(number) < 3.4e38 and struct.unpack("<f", struct.pack("<f", number))[0] == single:
            return number
    return single


def _expand(data, path):
    """The contents of an SZDD container; other data as they are."""
    if data[:8] != b"SZDD\x88\xf0\x27\x33":
        return data
    if len(data) < 14 or data[8:9] != b"A":
        raise NimblError("%s: an SZDD container of an unknown kind" % path)
    size = struct.unpack_from("<I", data, 10)[0]
    # The ring of 4096 bytes begins as blanks and is written from 4080 on: with a whole turn of
    # blanks before it, a position in it is an index modulo 4096.
    start = 4096 + 4080
    out = bytearray(b" " * start)
    end = start + size
    at, last = 14, len(data)
    while len(out) < end and at < last:
        flags = data[at]
        at += 1
        for bit in range(8):
            if len(out) >= end or at >= last:
                break
            if flags >> bit & 1:
                out.append(data[at])
                at += 1
                continue
            if at + 1 >= last:
                at = last
                break
            place, length = data[at] | (data[at + 1] & 0xF0) << 4, (data[at + 1] & 15) + 3
            at += 2
            here = len(out)
            begin = here - 1 - (here - 1 - place) % 4096
            if begin + length <= here:
                out += out[begin:begin + length]
            else:
                run = out[begin:here]
                out += (run * (length // len(run) + 1))[:length]
    if len(out) < end:
        raise NimblError("%s: the SZDD container is cut off" % path)
    return bytes(out[start:end])
