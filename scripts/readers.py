# SPDX-License-Identifier: MIT
"""Makes files of every kind that the library writes, and reads them with other programs.

Called by scripts/readers with the command-line program and a folder for the files. The page goes to
standard output; what is not as expected goes to standard error, and makes the result 1."""

import hashlib, json, logging, re, shutil, subprocess, sys, warnings, zlib
from dataclasses import dataclass, field
from pathlib import Path
from xml.parsers import expat as pyexpat

import numpy as np
import PIL.ExifTags
import PIL.Image
import tifffile

PROGRAM, FOLDER, PHOTO = sys.argv[1], Path(sys.argv[2]), "examples/harbour.jpg"
ICC = Path("/usr/share/color/icc")
PROFILES = {name: (ICC / file).read_bytes() for name, file in {
    "sRGB": "sRGB.icc", "Lstar-RGB.icc": "LStar-RGB.icc",
    "Compatible with Adobe RGB (1998)": "compatibleWithAdobeRGB1998.icc"}.items()}

# What examples/harbour.jpg holds, and what is asked for below.
PLACE = {"latitude": 47 + 36 / 60 + 30 / 3600, "latitude ref": "N", "longitude": 7.5876389,
         "longitude ref": "E", "altitude": 251.5, "GPS time": "10:30:45", "GPS date": "2015:06:01"}
BLOCK = {"make": "Canon", "model": "Canon EOS 5D", "exposure time": 0.004, "f-number": 8.0,
         "ISO": 100.0, "taken": "2015:06:01 12:30:45", "focal length": 50.0, "orientation": 1.0, **PLACE}
TIFF = {**BLOCK, "dpi": 300.0, "lens": "EF50mm f/1.4 USM", "keywords": ["harbour"]}
SOUTH = {"latitude ref": "S", "longitude ref": "W", "altitude": 12.5, "altitude ref": "\1",
         "orientation": 6.0}
COLOURS = "1,2,3,4,5,6,7,-8"
SETTINGS = {"strength": 65.0, "colours": COLOURS}
SET = ["--set", "Strength=65", "--set", "SaturationIndividualColors=" + COLOURS]
METHODS = {1: "Texture Sculptor", 3: "Brilliance Refiner", 4: "Light Leveler"}
PACKET = ("<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-"
          "syntax-ns#'>\n<rdf:Description rdf:about='' xmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>"
          "<aux:Lens>EF50mm f/1.4 USM</aux:Lens></rdf:Description>\n</rdf:RDF></x:xmpmeta>\n")


def run(*words, may_fail=False):
    done = subprocess.run([str(word) for word in words], capture_output=True)
    if done.returncode and not may_fail:
        raise RuntimeError(done.stderr.decode(errors="replace"))
    return done


def tool(*words):
    run(PROGRAM, *words, "--force")


# ---- The files ----------------------------------------------------------------------------------

def draw(name, channels, bits, height=21, width=33):
    """A picture of noise; binary PNM, or PNG with alpha. Returns the samples without alpha."""
    noise = np.random.RandomState(channels).randint(0, 1 << bits, (height, width, channels))
    big_endian = noise.astype(">u2" if bits == 16 else "u1")
    head, colours = [width, height, (1 << bits) - 1], channels - (channels % 2 == 0)
    if colours == channels:
        data = b"P%d\n%d %d\n%d\n" % (6 if channels == 3 else 5, *head) + big_endian.tobytes()
    else:
        def chunk(kind, data):
            return (len(data).to_bytes(4, "big") + kind + data +
                    zlib.crc32(kind + data).to_bytes(4, "big"))
        header = np.array(head[:2], ">u4").tobytes() + bytes([bits, 4 if channels == 2 else 6, 0, 0, 0])
        rows = b"".join(b"\0" + row.tobytes() for row in big_endian)
        data = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) +
                chunk(b"IEND", b""))
    (FOLDER / name).write_bytes(data)
    return noise[..., :colours].astype(f"u{bits // 8}")


def draw_hdr(name):
    rgbe = np.random.RandomState(9).randint(128, 136, (21, 33, 4)).astype("u1")
    (FOLDER / name).write_bytes(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 21 +X 33\n" + rgbe.tobytes())
    return np.ldexp(rgbe[..., :3].astype("f4"), rgbe[..., 3:].astype(int) - 136)


def stored(samples, depth):
    """The samples that a file of this depth holds."""
    if depth == "8":
        return (samples >> 8).astype("u1") if samples.dtype == "u2" else samples
    if depth == "16":
        return samples
    full = {"u1": 255, "u2": 65535}.get(samples.dtype.str[1:], 1)
    return (samples.astype("f4") / np.float32(full)).astype("f2" if depth == "half" else "f4")


@dataclass
class Kind:
    """One file, and what readers must show of it. Files of one name share a row of the table."""
    name: str
    path: Path
    values: dict
    pixels: np.ndarray = None
    traits: set = field(default_factory=set)  # what an expected remark may depend on


def make_files():
    kinds = []
    south = FOLDER / "south.jpg"
    shutil.copy(PHOTO, south)
    run("exiftool", "-q", "-overwrite_original", "-n", "-GPSAltitudeRef=1", "-GPSAltitude=12.5",
        "-GPSLatitudeRef=S", "-GPSLongitudeRef=W", "-Orientation=6", south)
    packet = FOLDER / "packet.xmp"
    packet.write_text(PACKET)
    drawn = {(channels, bits): draw(f"{channels}x{bits}", channels, bits)
             for channels in (1, 2, 3, 4) for bits in (8, 16)}
    drawn["large"] = draw("large", 3, 8, 700, 600)
    drawn["hdr"] = draw_hdr("hdr")

    def save(name, source, depth, *options, photo=PHOTO, traits=(), **values):
        path = FOLDER / f"{len(kinds)}.tif"
        picture = source if isinstance(source, str) else "%dx%d" % source
        tool("save", FOLDER / picture, "-o", path, "--from", photo, "--depth", depth, *options)
        pixels = stored(drawn[source], depth)
        base = {**TIFF, **(SOUTH if photo == south else {})}
        traits = {*traits, "TIFF"}
        if pixels.dtype.kind == "f":
            traits.add("floating point")
        kinds.append(Kind(name, path, {**base, **values}, pixels, traits))
        return kinds[-1]

    names = {1: "grey", 2: "grey, alpha left out", 3: "RGB", 4: "RGB, alpha left out"}
    for channels, name in names.items():
        for bits, depth, form in ((8, "8", "8 bits"), (16, "16", "16 bits"), (16, "8", "16 to 8 bits"),
                                  (16, "half", "half float"), (16, "32", "float")):
            save(f"{name}, {form}", (channels, bits), depth)
    for depth, form in (("half", "half float"), ("32", "float")):
        save(f"Radiance HDR, {form}", "hdr", depth)
    save("RGB, 8 bits, two strips", "large", "8")
    for channels, depth in ((3, "8"), (3, "16"), (3, "half"), (3, "32")):
        bits = 8 if depth == "8" else 16
        save("with everything: profile, settings, keywords, 240 dpi", (channels, bits), depth, "--profile",
             ICC / "sRGB.icc", "--method", 3, *SET, "--keyword", "night", "--dpi", 240, profile="sRGB",
             method=METHODS[3], keywords=["harbour", "night"], dpi=240.0, **SETTINGS)
    for depth in ("8", "16"):
        save("with a profile", (3, int(depth)), depth, "--profile", ICC / "LStar-RGB.icc",
             profile="Lstar-RGB.icc")
        save("with two more keywords", (3, int(depth)), depth, "--keyword", "night", "--keyword", "bracket",
             keywords=["harbour", "night", "bracket"])
        save("below sea level, south and west, orientation 6", (3, int(depth)), depth, photo=south,
             traits=["below sea level"])
        save("with a packet of the caller's", (3, int(depth)), depth, "--xmp", packet)
        save("with settings in the caller's packet", (3, int(depth)), depth, "--xmp", packet, "--method", 4,
             *SET, method=METHODS[4], **SETTINGS)
        for name, first, second in (("a longer", "LStar-RGB.icc", "sRGB.icc"),
                                    ("a shorter", "sRGB.icc", "compatibleWithAdobeRGB1998.icc")):
            icc = next(n for n, data in PROFILES.items() if data == (ICC / second).read_bytes())
            made = save(f"after its profile was replaced by {name} one", (3, int(depth)), depth, "--profile",
                        ICC / first, profile=icc)
            tool("profile", "replace", made.path, ICC / second)
    for number, method in METHODS.items():
        path = FOLDER / f"{number}.xmp"
        tool("settings", "write", number, "-o", path, *SET)
        made = save("with settings", (3, 16), "16", "--method", number, *SET, method=method, **SETTINGS)
        kinds.append(Kind("settings file", path, {"method": method, **SETTINGS}))
        kinds.append(Kind("settings inserted into a packet", FOLDER / f"in{number}.xmp",
                          {"method": method, "lens": TIFF["lens"], **SETTINGS}))
        tool("settings", "insert", packet, number, "-o", kinds[-1].path, *SET)
    packet2 = FOLDER / "two.xmp"
    tool("settings", "insert", FOLDER / "in3.xmp", 4, "-o", packet2)
    kinds.append(Kind("settings inserted a second time", packet2, {"lens": TIFF["lens"]}, None, {"two"}))
    for photo, more, traits, where in ((PHOTO, {}, (), ""),
                                       (south, SOUTH, ("below sea level",), ", below sea level")):
        path = FOLDER / f"{len(kinds)}.jpg"
        tool("exif-block", photo, "--jpeg", PHOTO, "-o", path)
        kinds.append(Kind("EXIF block in a JPEG copy" + where, path, {**BLOCK, **more},
                          np.asarray(PIL.Image.open(PHOTO)), {*traits, "JPEG"}))
    return kinds


# ---- The readers: each gives what it shows by its own names, and its remarks ------------------------

LINE = r"^\s*(\S.*?): +(.*)$"


def lines_of(text, pattern):
    shown = {}
    for name, value in re.findall(pattern, text, re.M):
        name, value = short(name), value.strip().strip('"')
        repeated = name in shown and name.startswith("keyword")
        shown[name] = f"{shown[name]};{value}" if repeated else shown.get(name, value)
    return shown


def short(name):
    """One name for Exif.GPSInfo.GPSLatitude, GPS:Latitude and Latitude."""
    return re.split("[:.]", name)[-1].removeprefix("GPS").replace(" ", "").lower()


def packet_of(data):
    text = data.decode() if isinstance(data, bytes) else data
    return {name.lower(): value for name, value in re.findall(r"<(?:cbtm|aux):(\w+)>([^<]*)<", text)}


def output_of(*words):
    done = run(*words, may_fail=True)
    remarks = done.stderr.decode(errors="replace").splitlines()
    return done.stdout.decode(errors="replace"), remarks + ["failed"] * (done.returncode != 0)


def exiftool(path):
    text, remarks = output_of("exiftool", "-j", "-a", "-n", "-G1:4", "-validate", "-warning", "-error", "-all", path)
    shown = json.loads(text)[0]
    remarks += [value for name, value in shown.items() if re.match(r"ExifTool:.*(Warning|Error)$", name)]
    return {short(name): ";".join(value) if isinstance(value, list) else str(value)
            for name, value in shown.items() if not name.startswith("Composite")}, remarks


def text_reader(*command, pattern=LINE, clean=lambda text: text):
    def read(path):
        text, remarks = output_of(*command, path)
        return {**lines_of(clean(text), pattern), **packet_of(text)}, remarks
    return read


def expat(path):
    pyexpat.ParserCreate().Parse(path.read_bytes(), True)
    return packet_of(path.read_text()), []


def pillow(path):
    with PIL.Image.open(path) as image:
        image.load()
        exif = image.getexif()
        tags = {**PIL.ExifTags.TAGS, 700: "XMP"}
        shown = {tags.get(tag, ""): value for tag, value in {**exif, **exif.get_ifd(0x8769)}.items()}
        places = {PIL.ExifTags.GPSTAGS[tag]: value for tag, value in exif.get_ifd(0x8825).items()}
        profile = image.info.get("icc_profile")
    named = {short(name): value for name, value in {**shown, **places, "InterColorProfile": profile}.items()}
    return {**named, **packet_of(shown.get("XMP", ""))}, []


def tifffile_(path):
    with tifffile.TiffFile(path) as file:
        tags = {tag.name: tag.value for tag in file.pages[0].tags.values()}
    shown = {short(name): value for name, value in {**tags, **tags["ExifTag"], **tags["GPSTag"]}.items()}
    for name, value in shown.items():
        if isinstance(value, tuple):  # fractions, two numbers each
            shown[name] = " ".join(f"{above}/{below}" for above, below in zip(value[::2], value[1::2]))
    words = re.findall(rb"\x1c\x02\x19\0.([\w ]+)", tags["IPTCNAA"])
    return {**shown, **packet_of(tags["XMP"]), "keywords": ";".join(word.decode() for word in words)}, []


def read_with(read, path):
    """Also what Python libraries warn of, log and raise; a damaged file may raise anything."""
    logged = []
    logging.getLogger("tifffile").handlers = [handler := logging.Handler()]
    handler.emit = lambda record: logged.append(record.getMessage())
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            shown, remarks = read(path)
        except Exception as error:
            shown, remarks = {}, [str(error), "failed"]
    remarks += logged + [str(warning.message) for warning in caught]
    return shown, [line.replace(str(path), "").strip() for line in remarks if line.strip()]


# ---- What they decode: whether the pixels are those that went in -----------------------------------

def tiffinfo_pixels(path, want):
    text = run("tiffinfo", "-d", path).stdout.decode(errors="replace")
    rows = re.findall(r"^(?: [0-9a-f]{2})+$", text[text.index("Strip 0:"):], re.M)
    return bytes.fromhex("".join(rows)) == want.tobytes()


def magick_pixels(path, want):
    bits = 8 if want.dtype == "u1" else 16
    raw = run("convert", path, "-depth", bits, "-endian", "LSB", "gray:-" if want.shape[2] == 1 else "rgb:-").stdout
    if rounded := want.dtype.kind == "f":  # it keeps 16 bits, of 0 to 1
        want = np.rint(np.clip(want.astype("f8"), 0, 1) * 65535)
    got = np.frombuffer(raw, f"<u{bits // 8}").reshape(want.shape)
    return bool(np.abs(got.astype("f8") - want).max() <= rounded)


def pillow_pixels(path, want):
    with PIL.Image.open(path) as image:
        image.load()
        got = np.asarray(image)
    if got.shape[:2] != want.shape[:2]:
        got = np.rot90(got)  # it turns pictures upright
    if want.dtype == "u2" and want.shape[2] == 3:
        want = want >> 8  # it has no more bits for RGB
    return np.array_equal(got.reshape(want.shape), want)


def tifffile_pixels(path, want):
    got = tifffile.imread(path)
    return got.dtype == want.dtype and np.array_equal(got.reshape(want.shape), want)


def iinfo_pixels(path, want):
    shown = run("iinfo", "--hash", path).stdout.decode()
    return hashlib.sha1(want.tobytes()).hexdigest().upper() in shown


# ---- Tables: the readers, their names for the values, and what they remark on ----------------------

@dataclass
class Reader:
    name: str
    version: str
    suffixes: str
    read: callable
    pixels: callable = None
    blind: tuple = ()  # what it does not show of TIFF files


def version(pattern, *words):
    done = run(*words, may_fail=True)
    return re.search(pattern, (done.stdout + done.stderr).decode()).group(1)


READERS = [
    Reader("libtiff", version(r"Version ([\d.]+)", "tiffinfo", "-h"), ".tif", text_reader("tiffinfo"),
           tiffinfo_pixels, ("keywords", "profile")),
    Reader("exiftool", version(r"([\d.]+)", "exiftool", "-ver"), ".tif .jpg .xmp", exiftool),
    Reader("exiv2", version(r"exiv2 ([\d.]+)", "exiv2", "--version"), ".tif .jpg .xmp",
           text_reader("exiv2", "-PEIXkv", "pr", pattern=r"^(\S+) +(.*)$")),
    Reader("ImageMagick", version(r"Magick ([\d.-]+)", "identify", "-version"), ".tif .jpg",
           text_reader("identify", "-verbose", clean=lambda text: text.replace("icc:model", "profile's model")),
           magick_pixels, (*PLACE, "altitude ref")),
    Reader("Pillow", PIL.__version__, ".tif .jpg", pillow, pillow_pixels, ("keywords",)),
    Reader("tifffile", tifffile.__version__, ".tif", tifffile_, tifffile_pixels),
    Reader("OpenImageIO", version(r"ImageIO ([\d.]+)", "oiiotool", "--help"), ".tif .jpg",
           text_reader("iinfo", "-v", clean=lambda text: re.sub(r" \([^)]*\)$", "", text, flags=re.M)),
           iinfo_pixels, ("ISO", *PLACE, "altitude ref")),
    Reader("libexif", version(r"([\d.]+)", "exif", "--version"), ".jpg",
           text_reader("exif", "-m", pattern=r"^(.+?)\t(.*)$")),
    Reader("expat", pyexpat.EXPAT_VERSION.removeprefix("expat_"), ".xmp", expat),
]

NAMES = {  # as short() makes them; the first that a reader shows
    "make": "make manufacturer", "model": "model", "exposure time": "exposuretime", "f-number": "fnumber f-number",
    "ISO": "isospeedratings iso photographicsensitivity", "taken": "datetimeoriginal dateandtime(original)",
    "focal length": "focallength", "orientation": "orientation", "latitude": "latitude",
    "latitude ref": "latituderef northorsouthlatitude", "longitude": "longitude",
    "longitude ref": "longituderef eastorwestlongitude", "altitude": "altitude", "altitude ref": "altituderef",
    "GPS time": "timestamp gpstime(atomicclock) time(atomicclock)", "GPS date": "datestamp date",
    "dpi": "xresolution resolution", "lens": "lens", "keywords": "keywords keyword[2,25]",
    "profile": "profiledescription profile_description intercolorprofile description", "method": "method",
    "strength": "strength", "colours": "saturationindividualcolors"}
ORIENTATIONS = {"row 0 top, col 0 lhs": "1", "row 0 rhs, col 0 top": "6", "TopLeft": "1", "RightTop": "6",
                "Top-left": "1", "Right-top": "6"}

MISSING = (r"^Missing required (TIFF|JPEG) (IFD0|ExifIFD|GPS) tag \w+ "
           r"(ExifVersion|FlashpixVersion|ColorSpace|GPSProcessingMethod%s)$")
EXPECTED = [  # whose remark, its pattern, the trait of the files that get it, what the page says
    ("exiftool", r"^\[minor\] Odd offset for (IFD0|ExifIFD|GPS) tag ", "",
     "`-validate`: \"Odd offset for ... tag\". Values stand one directly behind another, at odd offsets too."),
    ("exiftool", MISSING % "", "TIFF",
     "`-validate`: \"Missing required TIFF ... tag\" ExifVersion, FlashpixVersion, ColorSpace or "
     "GPSProcessingMethod. The files hold what was read from the photograph."),
    ("exiftool", r"^\[minor\] XMP is missing xpacket wrapper$", "TIFF",
     "`-validate`: \"XMP is missing xpacket wrapper\". The packet is found by its tag; the wrapper "
     "serves programs that search files of any kind for packets."),
    ("exiftool", MISSING % ("|ComponentsConfiguration|ExifImageWidth|ExifImageHeight|XResolution|YResolution"
                            "|ResolutionUnit|YCbCrPositioning"), "JPEG",
     "`-validate`: \"Missing required JPEG ... tag\": those of the TIFF files, and ComponentsConfiguration, "
     "ExifImageWidth, ExifImageHeight, XResolution, YResolution, ResolutionUnit and "
     "YCbCrPositioning. The block holds no description of the picture, which is the host's."),
    ("exiftool", r"^Non-standard format \(string\) for GPS 0x0005|^\[minor\] Unknown value for GPS:GPSAltitudeRef$",
     "below sea level",
     "`-validate`: \"Non-standard format (string) for GPS 0x0005 GPSAltitudeRef\" and \"Unknown value\". "
     "The altitude reference is ASCII. Its value is understood: the altitude is shown as below sea level."),
    ("libtiff", r'Wrong data type 2 for "AltitudeRef"; tag ignored\.$|^does not show: altitude ref$', "below sea level",
     "\"Wrong data type 2 for AltitudeRef; tag ignored\": the reference is ASCII. All other values are read."),
    ("libexif", r"^Corrupt data$|^The data provided does not follow|'GPSAltitudeRef' contains data of an invalid format|^failed$",
     "below sea level", "\"The tag 'GPSAltitudeRef' contains data of an invalid format ('ASCII', expected 'Byte')\": "
     "`exif` lists the values before it and ends there."),
    ("exiv2", r"^Warning: Updating namespace URI for cbtm from ", "two",
     "\"Updating namespace URI for cbtm\". Settings that are inserted beside others have a number "
     "of their own at the end of their namespace; the first in the packet count."),
    ("Pillow", r"^Metadata Warning, tag 33723 had too many entries: \d+, expected 1$", "TIFF",
     "\"tag 33723 had too many entries\". The IPTC block is counted in units of four bytes, as TIFF "
     "files commonly have it; Pillow expects one number."),
    ("Pillow", r"^cannot identify image file|^failed$", "floating point",
     "\"cannot identify image file\". Pillow knows neither half floats nor RGB floats, nor grey floats whose "
     "SampleFormat has three numbers."),
]


# ---- Comparing ------------------------------------------------------------------------------------

def numbers_in(shown):
    if not isinstance(shown, str):
        return [float(number) for number in np.ravel(shown)]
    parts = re.findall(r"(-?\d+(?:\.\d+)?)(?:/(\d+))?", shown)
    return [float(above) / float(below or 1) for above, below in parts]


def agrees(name, shown, want):
    """Whether what a reader shows is the value that went in, in any of the forms that readers use."""
    if name == "profile":
        if isinstance(shown, str) and re.fullmatch(r"[\d ]+", shown):
            shown = bytes(map(int, shown.split()))
        return shown == (PROFILES[want] if isinstance(shown, bytes) else want)
    if isinstance(want, list):
        return [word.strip() for word in shown.split(";")] == want
    if name in ("GPS time", "colours"):
        return np.allclose(numbers_in(shown), numbers_in(want.replace(":", " ")))
    if name == "altitude ref":
        return shown in ("\1", ".")  # a byte that does not print
    if isinstance(want, str):
        return shown.strip(" \0") == want
    numbers = numbers_in(ORIENTATIONS.get(shown, shown) if name == "orientation" else shown)
    if name in ("latitude", "longitude"):
        numbers[0] = sum(part / unit for part, unit in zip(numbers, (1, 60, 3600)))
    # 1/250 s is kept as 100/24999.
    return abs(numbers[0] - want) <= want * (1e-4 if name == "exposure time" else 1e-6)


def remarks_of(reader, kind):
    shown, remarks = read_with(reader.read, kind.path)
    if "failed" in remarks:
        return remarks
    asked = kind.values.keys() - (set(reader.blind) if kind.path.suffix == ".tif" else set())
    for name in sorted(asked):
        value = next((shown[key] for key in NAMES[name].split() if key in shown), None)
        if value is None:
            remarks.append(f"does not show: {name}")
        elif not agrees(name, value, kind.values[name]):
            remarks.append(f"shows another {name}: {value!r}")
    if reader.pixels and kind.pixels is not None:
        same, more = read_with(lambda path: (reader.pixels(path, kind.pixels), []), kind.path)
        remarks += more + ([] if same is True else ["shows other pixels"])
    return list(dict.fromkeys(remarks))


def note_of(reader, kind, remark):
    """The number of the expected remark that this is."""
    return next((number for number, (whose, pattern, trait, _) in enumerate(EXPECTED)
                 if whose == reader.name and re.search(pattern, remark) and trait in kind.traits | {""}), None)


@dataclass
class Cell:
    asked: bool = False
    failed: bool = False
    notes: set = field(default_factory=set)
    unexpected: list = field(default_factory=list)

    def __str__(self):
        words = ["**no**" if self.unexpected else "not read" if self.failed else "ok"] if self.asked else []
        return " ".join(words + [f"[{note}]" for note in sorted(self.notes)])


def ask(kind, reader, cell):
    cell.asked = True
    for remark in remarks_of(reader, kind):
        note = note_of(reader, kind, remark)
        cell.failed |= remark == "failed"
        if note is None:
            cell.unexpected.append(f"{kind.name} ({kind.path.name}): {reader.name}: {remark}")
        else:
            cell.notes.add(note + 1)


def print_table(head, rows):
    print("| " + " | ".join(head) + " |\n|" + " --- |" * len(head))
    for row in rows:
        print("| " + " | ".join(row) + " |")


def print_page(rows):
    print(PAGE)
    print_table(["", *(f"{reader.name} {reader.version}" for reader in READERS)],
                [[name, *map(str, cells)] for name, cells in rows.items()])
    print("\nThe remarks, all of them expected:\n")
    for number, (whose, _, _, text) in enumerate(EXPECTED, 1):
        print(f"{number}. {whose}: {text}")
    print("\nThe values, and the readers that do not show them of TIFF files and so were not asked:\n")
    for name in NAMES:
        blind = [reader.name for reader in READERS if name in reader.blind]
        print(f"- {name}" + (f": not {', '.join(blind)}" if blind else ""))


PAGE = """# Other readers

What other programs say of the files that the library writes; `scripts/readers` makes them, asks and
writes this page (`--update`). "ok" stands where a reader opens the file, shows every value that went in, of
those that it shows at all, and decodes the very pixels that went in (libtiff, ImageMagick,
Pillow, tifffile and OpenImageIO; ImageMagick in 16 bits of 0 to 1, Pillow in 8 bits for RGB). Numbers
are remarks, listed below. A cell is empty where a reader does not know such files.
"""


def main():
    shutil.rmtree(FOLDER, ignore_errors=True)
    FOLDER.mkdir(parents=True)
    rows = {}
    for kind in make_files():
        cells = rows.setdefault(kind.name, [Cell() for _ in READERS])
        for reader, cell in zip(READERS, cells):
            if kind.path.suffix in reader.suffixes:
                ask(kind, reader, cell)
    print_page(rows)
    unexpected = [line for cells in rows.values() for cell in cells for line in cell.unexpected]
    print("\n".join(unexpected), file=sys.stderr, end="\n" if unexpected else "")
    return 1 if unexpected else 0


sys.exit(main())
