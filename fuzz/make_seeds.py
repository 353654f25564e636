#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the first inputs of the fuzz targets: small, and each with something that a target would
long have to guess.

    fuzz/make_seeds.py                writes fuzz/seeds/<target>/<name>
    fuzz/make_seeds.py --costly DIR   writes inputs of 1 MiB that are made to cost time, likewise

Inputs in fuzz/seeds that are called fault-... once found a fault; they are not made here. The tests'
sample pictures are inputs of `scan` as well.
"""

import pathlib
import struct
import sys

MIB = 1 << 20
BYTE, ASCII, SHORT, LONG, RATIONAL, UNDEFINED = 1, 2, 3, 4, 5, 7


def rationals(order, *pairs):
    return struct.pack(f'{order}{len(pairs)}i', *pairs)


def directory(order, entries, offset, link=0):
    """A directory at an offset: (tag, type, count, value) with a number or bytes for the value."""
    head = struct.pack(order + 'H', len(entries))
    behind = b''
    data = offset + 2 + 12 * len(entries) + 4
    for tag, kind, count, value in entries:
        if isinstance(value, int):
            value = struct.pack(order + 'H2x' if kind == SHORT else order + 'I', value)
        elif len(value) > 4:
            behind += value
            value = struct.pack(order + 'I', data + len(behind) - len(value))
        head += struct.pack(order + 'HHI', tag, kind, count) + value.ljust(4, b'\0')
    return head + struct.pack(order + 'I', link) + behind


def exif_entries(order):
    return [(33434, RATIONAL, 1, rationals(order, 1, 250)), (33437, RATIONAL, 1, rationals(order, 28, 10)),
            (34855, SHORT, 1, 400), (36867, ASCII, 20, b'2015:06:01 12:30:45\0'),
            (37377, RATIONAL, 1, rationals(order, 8, 1)), (37386, RATIONAL, 1, rationals(order, 35, 1)),
            (41486, RATIONAL, 1, rationals(order, 2000, 1)), (41488, SHORT, 1, 3),
            (41493, RATIONAL, 1, rationals(order, 100, 1)), (41989, SHORT, 1, 52)]


def gps_entries(order):
    return [(1, ASCII, 2, b'S'), (2, RATIONAL, 3, rationals(order, 33, 1, 51, 1, 244, 10)),
            (3, ASCII, 2, b'E'), (4, RATIONAL, 3, rationals(order, 151, 1, 12, 1, 55, 1)),
            (5, BYTE, 1, b'\1'), (6, RATIONAL, 1, rationals(order, 25, 2)),
            (7, RATIONAL, 3, rationals(order, 10, 1, 20, 1, 30, 1)), (29, ASCII, 11, b'2015:06:01\0')]


def tiff(order, more=()):
    """A structure with EXIF and GPS directories, and a thumbnail in a second directory."""
    exif, gps, second, first = 16, 500, 900, 1000
    out = (b'II*\0' if order == '<' else b'MM\0*') + struct.pack(order + 'I', first)
    entries = [(256, SHORT, 1, 8), (272, ASCII, 10, b'Model Q-7\0'), (274, SHORT, 1, 6), *more,
               (34665, LONG, 1, exif), (34853, LONG, 1, gps)]
    for offset, block in ((exif, directory(order, exif_entries(order), exif)),
                          (gps, directory(order, gps_entries(order), gps)),
                          (second, directory(order, [(513, LONG, 1, 8), (514, LONG, 1, 64)], second)),
                          (first, directory(order, entries, first, second))):
        out = out.ljust(offset, b'\0') + block
    return out


def elements(method, settings, start='<cbtm:{0}>{1}</cbtm:{0}>\n', version='6.0'):
    return ''.join(start.format(name, value) for name, value in (('Version', version), ('Method', method), *settings))


EIGHT = '0.0,1.5,-2.0,0.0,9.9,0.0,0.0,10.0'
SCULPTOR = [('Strength', '70.0'), ('Luminosity', '3.0'), ('SmoothingMode', 'Light'), ('Smoothing', 'Medium  '),
            ('ColorSaturation', '46'), ('Gamma', '1.5'), ('IsPano360', 'Yes'), ('SaturationIndividualColors', EIGHT)]
REFINER = [('Strength', '0x1p3'), ('WhiteClip', '3.000'), ('BlackClip', '-nan'), ('BlendWithEV', '1e-3')]
ATTRIBUTE = 'cbtm:{0}="{1}" '


def description(body, sequence=1):
    return ("<rdf:Description rdf:about=''\n"
            f"xmlns:cbtm='http://ns.celumbrant.com/celumbrant_settings{sequence:02}'>\n{body}</rdf:Description>\n\n")


LENS = ("<rdf:Description rdf:about=''\nxmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>\n"
        "<aux:Lens>50mm f/1.8</aux:Lens>\n</rdf:Description>\n\n")


def packet(*descriptions):
    return ("<x:xmpmeta xmlns:x='adobe:ns:meta/'>\n<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>\n\n"
            + ''.join(descriptions) + '</rdf:RDF>\n</x:xmpmeta>\n').encode()


PACKETS = {
    'elements': packet(LENS, description(elements('Texture Sculptor', SCULPTOR))),
    'slider': packet(description(elements('Vivid Accentuator', [('SmoothingMode', 'Slider'), ('Smoothing', '2.5')]))),
    'clips': packet(description(elements('Brilliance Refiner', REFINER)), LENS),
    'two_sets': packet(description(elements('Light Leveler', REFINER), 2), description(elements('Uniform', []))),
    'late': packet(LENS, ' ' * 900, description(elements('Range Flattener', [('Compression', '2.0')]))),
    'attributes': packet('<rdf:Description xmlns:cbtm="http://ns.celumbrant.com/celumbrant_settings01" '
                         + elements('Texture Sculptor', SCULPTOR, ATTRIBUTE) + '/>\n',
                         '<rdf:Description xmlns:aux="http://ns.adobe.com/exif/1.0/aux/" aux:Lens="35mm"/>\n'),
}


def segment(marker, payload):
    return b'\xFF' + bytes([marker]) + struct.pack('>H', len(payload) + 2) + payload


def jpeg(structure, *others):
    return b'\xFF\xD8' + segment(0xE1, b'Exif\0\0' + structure) + b''.join(others) + b'\xFF\xD9'


def xmp_segment(text):
    return segment(0xE1, b'http://ns.adobe.com/xap/1.0/\0' + text)


def resource(number, data):
    return b'8BIM' + struct.pack('>HHI', number, 0, len(data)) + data + b'\0' * (len(data) % 2)


def data_set(record, number, data):
    return bytes([0x1C, record, number]) + struct.pack('>H', len(data)) + data


IPTC = data_set(2, 0, b'\0\2') + data_set(2, 25, b'harbour') + data_set(2, 90, b'Sydney')
THUMBNAIL = resource(1036, struct.pack('>6I2H', 1, 8, 6, 24, 144, 4, 24, 1) + b'\xFF\xD8\xFF\xD9')
RESOURCES = resource(1005, b'resolution') + resource(1028, IPTC) + THUMBNAIL


def psd(structure):
    blocks = resource(1005, b'odd') + resource(1058, structure)
    return (b'8BPS' + struct.pack('>H6xHIIHHI', 1, 3, 8, 8, 8, 3, 0) + struct.pack('>I', len(blocks)) + blocks)


def profile(text):
    body = b'desc' + struct.pack('>II', 0, len(text) + 1) + text + b'\0' * 80
    head = struct.pack('>I12x', 128 + len(body)) + b'RGB XYZ '
    return head.ljust(128, b'\0') + body


def slots(count, numbers, texts):
    array = bytearray(struct.pack(f'<{count}i', *(numbers.get(i, 0) for i in range(count))))
    for at, text in texts:
        array[at:at + len(text)] = text
    return bytes(array)


EXIF_SLOTS = slots(60, {0: 100, 1: 25000, 2: 280, 3: 100, 5: 400, 10: 3500, 11: 100},
                   [(4 * 23, b'Canon EOS 5D'), (4 * 39, b'2015:06:01 12:30:45'), (4 * 44, b'50mm f/1.8')])
GPS_SLOTS = slots(24, {0: 33, 1: 1, 2: 51, 3: 1, 4: 24, 5: 1, 6: 151, 7: 1, 8: 12, 9: 1, 10: 55, 11: 1, 12: 25,
                       13: 2, 14: 10, 15: 1, 16: 20, 17: 1, 18: 30, 19: 1}, [(80, b'SE\1'), (84, b'2015:06:01')])
FULL_SLOTS = slots(60, {5: 65537}, [(4 * 23, b'X' * 64), (4 * 39, b'9' * 20), (4 * 44, b'L' * 64)])
SHORT_SLOTS = slots(60, {0: 1, 1: -1}, [(4 * 23, b'D7'), (4 * 39, b'2015\n'), (4 * 44, b'l')])


ANY_SIZES = bytes([4, 16, 9, 91, 64, 6, 21, 11])


def picture(arrays, width, height, samples, depth, narrow, method, icc, iptc, xmp, seldom=0, orientation=3):
    """As take_request of save_fuzz.cpp takes it apart."""
    form = bytes([width, height, seldom, samples, depth, narrow]) + struct.pack('<H', 300)
    form += bytes([orientation + 1, 1, method + 1])
    return (arrays + form + bytes([len(icc)]) + icc + bytes([len(iptc)]) + iptc
            + struct.pack('<H', len(xmp)) + xmp + ANY_SIZES + bytes(range(7, 250, 3)))


def floats(count, step):
    return struct.pack(f'<{count}f', *((i - 2) * step for i in range(count)))


def seeds():
    little, big = '<', '>'
    blocks = [(700, BYTE, len(PACKETS['clips']), PACKETS['clips']), (33723, UNDEFINED, len(IPTC), IPTC),
              (34377, BYTE, len(RESOURCES), RESOURCES)]
    place = struct.pack('<II', 64, 100)
    yield 'scan', 'little_endian_tif', tiff(little, blocks) + place
    yield 'scan', 'settings_and_resources_jpg', jpeg(
        tiff(big), segment(0xE0, b'JFIF\0'), xmp_segment(PACKETS['elements']),
        segment(0xED, b'Photoshop 3.0\0' + RESOURCES)) + place
    yield 'scan', 'little_endian_psd', psd(tiff(little)) + place
    yield 'scan', 'iptc_cut_off', b'\x1C' * 40 + struct.pack('<II', 20, 30)
    for name, order in (('little_endian', little), ('big_endian', big)):
        yield 'directories', 'exif_' + name, struct.pack('<Hi', 0, 0) + directory(order, exif_entries(order), 0)
        yield 'directories', 'gps_' + name, struct.pack('<Hi', 8, 8) + bytes(8) + directory(order, gps_entries(order), 0)
    yield 'directories', 'gps_date_too_long', struct.pack('<Hi', 0, 0) + directory(
        little, [(29, ASCII, 40, b'2015:06:01 and what else there is to say')], 0)
    yield 'resources', 'iptc_and_thumbnail', struct.pack('<Bi', 0, 4096) + RESOURCES
    yield 'resources', 'cut_off', struct.pack('<Bi', 2, MIB) + b'xx' + THUMBNAIL + resource(1028, b'')[:10]
    head = struct.pack('<h', 30)
    yield 'texts', 'description', head + b'a, b, c, d, e, f, g, 1/250s, R40, G45, B50'
    yield 'texts', 'profile_sRGB', head + profile(b'sRGB IEC61966-2.1')
    yield 'texts', 'profile_other', head + profile(b'A description of more than thirty-two bytes')
    yield 'texts', 'date_time', head + b'2015:06:01 12:30:45'
    yield 'texts', 'date_time_far', head + b'+2015:-6:0 99999999999:1:1'
    for name, text in PACKETS.items():
        yield 'settings', name, bytes([2, 0, 1]) + b'cbtm:Strength'.ljust(16, b'\0') + text
        yield 'insertion', name, bytes([2, 1, 3]) + text
    yield 'settings', 'list', bytes([22, 20, 1]) + b'cbtm:SaturationIndividualColors'[:16] + PACKETS['elements']
    for i, method in enumerate((1, 2, 3, 4, 10, 11, 13, 14, 15)):
        yield 'packet', f'method_{method}', bytes([i, i, 1, 2, 6]) + b'lens#1' + floats(60, 0.31) + floats(60, 7.77)
    yield 'iptc', 'keyword_behind_keyword', struct.pack('<H', 3) + b'sea' + IPTC
    yield 'iptc', 'new_block', struct.pack('<H', 8) + b'harbours'
    yield 'iptc', 'empty_keyword', struct.pack('<H', 0) + IPTC
    yield 'iptc', 'length_like_a_mark', struct.pack('<H', 28) + b'\2\x19'.ljust(28, b'k') + b'\2\x19'.ljust(28, b'k') + b',next'
    yield 'iptc', 'cut_off', struct.pack('<H', 3) + b'sea' + IPTC[:-3]
    icc = profile(b'Adobe RGB (1998)')
    for tag, length in ((34675, 300), (274, 0), (256, -1)):
        yield 'profile', f'profile_of_{length}', struct.pack('<Hh', tag, length) + tiff(
            little, [(34675, UNDEFINED, len(icc), icc)])
    yield 'profile', 'profile_in_its_entry', struct.pack('<Hh', 34675, 2) + tiff(little, [(34675, SHORT, 2, b'ab')])
    yield 'profile', 'cut_off', struct.pack('<Hh', 34675, 9) + b'II*\0' + struct.pack('<IHHHI', 8, 1, 34675, 7, 9)
    photo = EXIF_SLOTS + GPS_SLOTS
    settings = PACKETS['clips'] + b'\0'
    yield 'save', 'rgba_16_to_8', picture(photo, 9, 5, 4, 0, 1, 3, icc[:100], IPTC, settings)
    yield 'save', 'grey_half', picture(photo, 7, 3, 1, 3, 0, 10, b'short', b'\x1C\2', b'')
    yield 'save', 'rgba_float_full_texts', picture(FULL_SLOTS + GPS_SLOTS, 4, 4, 4, 2, 0, 0, b'', b'', b'<x/>' * 9)
    yield 'save', 'short_texts', picture(SHORT_SLOTS + slots(24, {0: 1, 1: -1, 6: 2, 7: 0}, [(82, b'\xFF')]), 3, 2, 2, 1, 0, -1, b'', IPTC, b'xmp')
    yield 'save', 'wide', picture(photo, 63, 7, 4, 0, 1, 1, b'', b'', b'', 31)
    yield 'save', 'rgb_16_to_8', picture(photo, 9, 2, 3, 0, 1, 2, b'', b'', PACKETS['late'], orientation=9)
    yield 'save', 'rgba_16', picture(photo, 9, 2, 4, 1, 0, 2, icc.replace(b'RGB ', b'GRAY')[:99], b'', settings)
    yield 'save', 'rgba_8', picture(photo, 9, 2, 4, 0, 0, 0, b'', b'', settings[:-1])
    yield 'save', 'refused', picture(photo, 5, 5, 3, 4, 0, 1, b'', b'', b'')
    for width in (1, 33):
        pixels = bytes((7 * i * i + 11 * i) & 0xFF for i in range(12 * width))
        yield 'hdr', f'width_{width}', struct.pack('<H', width) + pixels


def costly():
    def padded(unit, size=MIB):
        return (unit * (size // len(unit) + 1))[:size]

    def overlapping(order, tag, kind, count, size=MIB):
        """Directories as large as can be whose entries all name the next byte or the first one."""
        entry = struct.pack(order + 'HHII', tag, kind, count, 14)
        head = (b'II*\0' if order == '<' else b'MM\0*') + struct.pack(order + 'IH', 8, 65535)
        return padded(head + entry * 65535 + struct.pack(order + 'I', 8), size)

    def scattered(tag):
        """Entries whose values lie far from them and from one another."""
        entries = b''.join(struct.pack('<HHII', tag, RATIONAL, 3, (i * 40503 * 16 + 300000) % MIB) for i in range(65535))
        return padded(b'II*\0' + struct.pack('<IH', 8, 65535) + entries + struct.pack('<I', 8))

    for tag in (34665, 34853, 34377, 272, 700):
        yield 'scan', f'entries_of_{tag}', overlapping('<', tag, LONG, MIB)
    for tag in (33434, 37386, 272):
        yield 'scan', f'scattered_{tag}', scattered(tag)
    yield 'scan', 'segments_jpg', b'\xFF\xD8' + padded(b'\xFF\xE0\0\2', MIB - 2)
    yield 'scan', 'blocks_psd', padded(psd(b'II')[:30] + b'\x7F\xFF\xFF\xFF' + resource(1000, b'') * 90000)
    for tag in (33434, 36867, 2):
        yield 'directories', f'scattered_{tag}', struct.pack('<Hi', 8, 0) + scattered(tag)
    for name, unit in (('signatures', b'8BIM\4\4\0\0'), ('starts', b'8BI')):
        yield 'resources', name, struct.pack('<Bi', 0, MIB) + padded(unit)
    for name, unit in (('commas', b', '), ('letters', b'R'), ('exposures', b'1/'), ('desc', b'desc\0\0\0\0\0\0\0')):
        yield 'texts', name, struct.pack('<h', 0) + padded(b', ' * 7 + unit * 200000 if name != 'desc' else unit)
    declared = b"xmlns:cbtm='http://ns.celumbrant.com/x'"
    for name, unit in (('declarations', declared), ('prefixes', b'cbtm:'), ('versions', b'cbtm:Version>6.'),
                       ('lenses', b"xmlns:aux='http://ns.adobe.com/exif/1.0/aux/'aux:Lens "), ('blanks', b' '),
                       ('digits', b'9')):
        start = declared + b'cbtm:Version>6.0cbtm:Method>Texture Sculptor cbtm:Strength>'
        yield 'settings', name, bytes([2, 0, 1]) + b'cbtm:Strength'.ljust(16, b'\0') + padded(start + unit * MIB)
    frame = PACKETS['elements'][:PACKETS['elements'].index(b'<rdf:Desc')]
    yield 'insertion', 'large', bytes([3, 1, 3]) + padded(frame + declared * MIB)
    yield 'insertion', 'starts', bytes([3, 1, 3]) + padded(b"<x:xmpmeta xmlns:x='adobe:ns:meta" * MIB)
    yield 'iptc', 'keywords', struct.pack('<H', 3) + b'sea' + padded(data_set(2, 25, b''))
    chain = b''.join(struct.pack('<HHHIII', 1, 1, 1, 1, 0, 8 + 18 * (i + 1)) for i in range(58000))
    yield 'profile', 'chain', struct.pack('<Hh', 34675, 9) + padded(b'II*\0\x08\0\0\0' + chain)
    yield 'profile', 'entries', struct.pack('<Hh', 34675, 9) + overlapping('<', 1, LONG, 1)
    yield 'hdr', 'pixels', struct.pack('<H', 512) + padded(bytes(range(256)))
    yield 'save', 'rows', picture(EXIF_SLOTS + GPS_SLOTS, 64, 12, 4, 0, 1, 1, b'', b'', b'', 31)
    yield 'packet', 'floats', bytes([0, 99, 1, 5, 0]) + padded(b'\xFF\xFF\x7F\x7F')


def main():
    is_costly = sys.argv[1:2] == ['--costly']
    if len(sys.argv) not in (1, 3) or (len(sys.argv) == 3 and not is_costly):
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[2]) if is_costly else pathlib.Path(__file__).parent / 'seeds'
    for target, name, data in costly() if is_costly else seeds():
        path = folder / target / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)


if __name__ == '__main__':
    main()
