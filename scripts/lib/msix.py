# The work of scripts/lib/msix, which says what it does. Its first word is the folder of the project.
import base64
import hashlib
import os
import re
import sys
import xml.etree.ElementTree as ElementTree
import zipfile
from xml.sax.saxutils import quoteattr

from asn1crypto import cms

MANIFEST, BLOCK_MAP, TYPES, SIGNATURE = 'AppxManifest.xml', 'AppxBlockMap.xml', '[Content_Types].xml', 'AppxSignature.p7x'
# No part has a time of its own: the earliest that the format can tell.
TIME = (1980, 1, 1, 0, 0, 0)
BLOCK = 65536
HASH_METHOD = 'http://www.w3.org/2001/04/xmlenc#sha256'
MAP_SPACE = 'http://schemas.microsoft.com/appx/2010/blockmap'
TYPES_SPACE = 'http://schemas.openxmlformats.org/package/2006/content-types'
CONTENT_TYPES = {
    MANIFEST: 'application/vnd.ms-appx.manifest+xml',
    BLOCK_MAP: 'application/vnd.ms-appx.blockmap+xml',
    SIGNATURE: 'application/vnd.ms-appx.signature',
}
PICTURE_TYPE = 'image/png'
FOUNDATION = 'http://schemas.microsoft.com/appx/manifest/foundation/windows10'
APPX = 'http://schemas.microsoft.com/appx/manifest/'
# The kinds of items, each with the version of the manifest's format that knows it first.
KINDS = {'*': APPX + 'desktop/windows10/4', 'Directory': APPX + 'desktop/windows10/5', 'Drive': APPX + 'desktop/windows10/10'}
# The names that Windows has for the attributes of a subject; it writes any other as OID. and its number.
ATTRIBUTES = {
    '2.5.4.3': 'CN', '2.5.4.4': 'SN', '2.5.4.5': 'SERIALNUMBER', '2.5.4.6': 'C', '2.5.4.7': 'L', '2.5.4.8': 'S',
    '2.5.4.9': 'STREET', '2.5.4.10': 'O', '2.5.4.11': 'OU', '2.5.4.12': 'T', '2.5.4.13': 'Description',
    '2.5.4.17': 'PostalCode', '2.5.4.18': 'POBox', '2.5.4.20': 'Phone', '2.5.4.24': 'X21Address', '2.5.4.42': 'G',
    '2.5.4.43': 'I', '2.5.4.46': 'dnQualifier', '1.2.840.113549.1.9.1': 'E', '0.9.2342.19200300.100.1.25': 'DC',
}


class Refused(Exception):
    pass


def demand(holds, sentence):
    if not holds:
        raise Refused(sentence)


def hash_blocks(content):
    return [base64.b64encode(hashlib.sha256(content[start:start + BLOCK]).digest()).decode()
            for start in range(0, len(content), BLOCK)]


# ---- Making

# The class of the menu, as the DLL knows it.
def read_class(root):
    with open(os.path.join(root, 'shellext/class_identifiers.h'), encoding='utf-8') as header:
        found = re.search(r'clsid_ExplorerCommand\s*\{([^;]*)\}', header.read())
    numbers = [int(number, 16) for number in re.findall('0x([0-9a-fA-F]+)', found.group(1))] if found else []
    demand(len(numbers) == 11, 'shellext/class_identifiers.h names no class for it')
    return '{:08x}-{:04x}-{:04x}-{:02x}{:02x}-'.format(*numbers) + ''.join(f'{number:02x}' for number in numbers[5:])


def make_block_map(parts):
    lines = ['<?xml version="1.0" encoding="UTF-8" standalone="no"?>',
             f'<BlockMap xmlns="{MAP_SPACE}" HashMethod="{HASH_METHOD}">']
    for name in sorted(parts, key=str.lower):
        blocks = ''.join(f'<Block Hash="{hash}"/>' for hash in hash_blocks(parts[name]))
        lines.append(f'<File Name={quoteattr(name)} Size="{len(parts[name])}" LfhSize="{30 + len(name.encode())}">{blocks}</File>')
    return '\r\n'.join(lines + ['</BlockMap>', '']).encode()


def make_types():
    overrides = ''.join(f'<Override PartName="/{name}" ContentType="{CONTENT_TYPES[name]}"/>' for name in (MANIFEST, BLOCK_MAP))
    return (f'<?xml version="1.0" encoding="UTF-8"?>\r\n<Types xmlns="{TYPES_SPACE}">'
            f'<Default Extension="png" ContentType="{PICTURE_TYPE}"/>{overrides}</Types>').encode()


def make(root, version, file, architecture='x64'):
    folder = os.path.join(root, 'installer/windows11')
    with open(os.path.join(folder, MANIFEST), encoding='utf-8') as template:
        manifest = template.read()
    filled = {'VERSION': '.'.join((version + '.0').split('.')[:4]), 'ARCHITECTURE': architecture, 'CLASS': read_class(root)}
    manifest = re.sub('@([A-Z]+)@', lambda gap: filled[gap.group(1)], manifest)
    parts = {}
    for name in sorted(os.listdir(folder)):
        if name.endswith('.png'):
            with open(os.path.join(folder, name), 'rb') as picture:
                parts[name] = picture.read()
    parts[MANIFEST] = manifest.encode()
    with zipfile.ZipFile(file, 'w') as package:
        def add(name, content, compression):
            entry = zipfile.ZipInfo(name, TIME)
            entry.compress_type = compression
            entry.create_system = 0
            package.writestr(entry, content, compresslevel=9)
        for name, content in parts.items():
            add(name, content, zipfile.ZIP_STORED)
        add(BLOCK_MAP, make_block_map(parts), zipfile.ZIP_DEFLATED)
        add(TYPES, make_types(), zipfile.ZIP_DEFLATED)


# Writes the fixed time over that of the signature, in front of it and in the directory: neither is a part of what is signed.
def settle(file):
    with zipfile.ZipFile(file) as package:
        start, place = package.getinfo(SIGNATURE).header_offset, package.start_dir
        for entry in package.infolist():
            if entry.filename == SIGNATURE:
                break
            place += 46 + len(entry.filename.encode()) + len(entry.extra) + len(entry.comment)
    year, month, day, *_ = TIME
    stamp = (0).to_bytes(2, 'little') + ((year - 1980) << 9 | month << 5 | day).to_bytes(2, 'little')
    with open(file, 'r+b') as raw:
        for where in (start + 10, place + 12):
            raw.seek(where)
            raw.write(stamp)


# ---- Reading back

def parse(name, content):
    try:
        return ElementTree.fromstring(content)
    except ElementTree.ParseError as error:
        raise Refused(f'{name} cannot be read: {error}') from error


# The contents by their names. Every part but those that describe the others is stored as it is.
def read_parts(file):
    try:
        package = zipfile.ZipFile(file)
    except zipfile.BadZipFile as error:
        raise Refused(f'it is no package: {error}') from error
    with package, open(file, 'rb') as raw:
        entries = package.infolist()
        names = [entry.filename for entry in entries]
        described = [name for name in names if name not in (BLOCK_MAP, TYPES, SIGNATURE)]
        signed = [SIGNATURE] if SIGNATURE in names else []
        demand(len(set(map(str.lower, names))) == len(names), 'it has a part twice')
        demand(described[-1:] == [MANIFEST] and names[:len(described)] == described and
               sorted(names[len(described):]) == sorted([BLOCK_MAP, TYPES] + signed) and names[len(described)] == BLOCK_MAP,
               f'its parts are {", ".join(names)}, which is not their order')
        contents, headers = {}, {}
        for entry in entries:
            stored = entry.compress_type == zipfile.ZIP_STORED
            demand(stored or entry.filename not in described, f'{entry.filename} is compressed')
            demand(entry.date_time == TIME, f'{entry.filename} has a time of its own')
            try:
                contents[entry.filename] = package.read(entry)
            except zipfile.BadZipFile as error:
                raise Refused(f'{entry.filename} is damaged: {error}') from error
            raw.seek(entry.header_offset)
            header = raw.read(30)
            headers[entry.filename] = 30 + int.from_bytes(header[26:28], 'little') + int.from_bytes(header[28:30], 'little')
    return contents, headers, described


def check_block_map(contents, headers, described):
    space = '{' + MAP_SPACE + '}'
    block_map = parse(BLOCK_MAP, contents[BLOCK_MAP])
    demand(block_map.tag == space + 'BlockMap' and block_map.get('HashMethod') == HASH_METHOD, 'the block map is of another kind')
    files = block_map.findall(space + 'File')
    names = [file.get('Name', '') for file in files]
    demand(names == sorted(names, key=str.lower), 'the block map is not sorted without regard to case')
    demand(sorted(names) == sorted(described), 'the block map names other parts than are there')
    for name, file in zip(names, files):
        demand(file.get('Size') == str(len(contents[name])), f'the block map has another size for {name}')
        demand(file.get('LfhSize') == str(headers[name]), f'the block map has another size for the header of {name}')
        hashes = [block.get('Hash') for block in file.findall(space + 'Block')]
        demand(hashes == hash_blocks(contents[name]), f'the block map has other hashes for {name}')


def check_types(contents):
    space = '{' + TYPES_SPACE + '}'
    types = parse(TYPES, contents[TYPES])
    defaults = {kind.get('Extension'): kind.get('ContentType') for kind in types.findall(space + 'Default')}
    overrides = {kind.get('PartName'): kind.get('ContentType') for kind in types.findall(space + 'Override')}
    for name in contents:
        if name != TYPES:
            demand(overrides.get('/' + name, defaults.get(name.rpartition('.')[2])) == CONTENT_TYPES.get(name, PICTURE_TYPE),
                   f'{TYPES} does not say what {name} is')


# Whom the manifest names as the publisher.
def check_manifest(contents, described, folder):
    manifest = parse(MANIFEST, contents[MANIFEST])
    demand(not re.search(b'@[A-Z]+@', contents[MANIFEST]), 'the manifest has gaps')

    def find(tag):
        return [element for element in manifest.iter() if element.tag.rpartition('}')[2] == tag]

    identity = manifest.find('{' + FOUNDATION + '}Identity')
    demand(identity is not None and identity.get('Name') == 'Norvak.ContextMenu', 'the manifest has another identity')
    demand(re.fullmatch(r'(\d{1,5}\.){3}\d{1,5}', identity.get('Version', '')), 'the manifest has no version of four numbers')
    named = {element.get(attribute) for element in find('VisualElements')
             for attribute in ('Square150x150Logo', 'Square44x44Logo')} | {element.text for element in find('Logo')}
    demand(named == set(described) - {MANIFEST}, 'the manifest names other pictures than are there')
    classes = find('Class')
    demand(len(classes) == 1 and classes[0].get('ThreadingModel') == 'STA', 'the manifest has not just one class, for a thread of its own')
    menu = {kind.get('Type'): kind for kind in find('ItemType')}
    demand(menu.keys() == KINDS.keys(), 'the menu is for other kinds of items')
    for kind, element in menu.items():
        space = '{' + KINDS[kind] + '}'
        demand(element.tag == space + 'ItemType' and [verb.tag for verb in element] == [space + 'Verb'],
               f'the item type {kind} is of another version of the format')
        demand(element[0].get('Clsid') == classes[0].get('Id') and element[0].get('Id') == 'Norvak',
               f'the verb for {kind} is another one')
    for file in [element.get('Executable') for element in find('Application')] + [classes[0].get('Path')]:
        demand(folder is None or os.path.isfile(os.path.join(folder, file)), f'the manifest names {file}, which is not in the folder')
    return identity.get('Publisher', '')


# The subject as Windows writes it: the last part first, and in quotes what could be taken for something else.
def write_subject(subject):
    def write_value(value):
        if value and value == value.strip() and not re.search('[,+="\r\n<>#;]', value):
            return value
        return '"' + value.replace('"', '""') + '"'

    parts = []
    for part in reversed(list(subject.chosen)):
        pairs = [(pair['type'].dotted, pair['value'].native) for pair in part]
        parts.append(' + '.join(ATTRIBUTES.get(number, 'OID.' + number) + '=' + write_value(value) for number, value in pairs))
    return ', '.join(parts)


def read_signer(signature):
    demand(signature[:4] == b'PKCX', 'its signature is of another kind')
    data = cms.ContentInfo.load(signature[4:])['content']
    demand(len(data['signer_infos']) == 1, 'it is not signed just once')
    signer = data['signer_infos'][0]['sid'].chosen
    for certificate in data['certificates']:
        certificate = certificate.chosen
        if certificate.issuer == signer['issuer'] and certificate.serial_number == signer['serial_number'].native:
            return write_subject(certificate.subject)
    raise Refused('it holds no certificate of its signer')


def check(signed, file, folder=None):
    contents, headers, described = read_parts(file)
    check_block_map(contents, headers, described)
    check_types(contents)
    publisher = check_manifest(contents, described, folder)
    demand(SIGNATURE in contents or not signed, 'it is not signed')
    if SIGNATURE in contents:
        signer = read_signer(contents[SIGNATURE])
        demand(signer == publisher, f'its publisher is {publisher}, but it is signed by {signer}; installer/windows11/{MANIFEST} '
               'must name the subject of the certificate')


def main(root, task, *words):
    signed = words[0] == '--signed'
    file, *folder = words[1 if task == 'make' else signed:]
    try:
        if task == 'make':
            make(root, *words)
        elif task == 'settle':
            settle(file)
        else:
            check(signed, file, *folder)
    except Refused as refusal:
        sys.exit(f'msix: {os.path.basename(file)} {"cannot be made" if task == "make" else "is refused"}: {refusal}.')


main(*sys.argv[1:])
