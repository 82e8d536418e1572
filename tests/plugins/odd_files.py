"""odd_files.py EFFECT DIRECTORY

Makes files that are no usable library, and copies of a good one at odd places, from the library EFFECT. The path of
300 characters is one as Windows sees it, under the drive Z: that Wine gives the root.
"""
import os
import shutil
import struct
import sys

ODD_NAMES = {
    'spaces': 'With Three Spaces.dll',
    'comma': 'With,Comma.dll',
    'letters': 'Ünïcödé Łąć 音楽.dll',
    'upper_case_ending': 'UpperCaseEnding.DLL',
    'dots': 'Two.Dots.dll',
}
LONG_PATH_LENGTH = 300


def long_path(directory):
    """A path below directory that is 300 characters long as Windows sees it ("Z:" before it)."""
    name = 'Effect.dll'
    missing = LONG_PATH_LENGTH - len('Z:' + directory) - len('/') - len('/' + name)
    if missing < 2:
        raise SystemExit(f'{directory} is too deep for a path of {LONG_PATH_LENGTH} characters')
    folders = []
    while missing > 0:
        step = min(missing, 100)
        if missing - step == 1:  # a separator needs a letter after it
            step -= 1
        folders.append('d' * (step if not folders else step - 1))
        missing -= step
    path = os.path.join(directory, *folders, name)
    assert len('Z:' + path) == LONG_PATH_LENGTH, len('Z:' + path)
    return path


def main(effect, directory):
    directory = os.path.abspath(directory)
    os.makedirs(directory, exist_ok=True)
    with open(effect, 'rb') as file:
        library = file.read()
    headers_at, = struct.unpack_from('<I', library, 0x3C)

    contents = {
        'Empty.dll': b'',
        'Text.dll': b'This is a text, and no library.\r\n' * 40,
        # Ends before the headers that say which processor it is for.
        'TruncatedInHeader.dll': library[:headers_at - 16],
        # Ends in the middle of those headers.
        'TruncatedInHeaders.dll': library[:headers_at + 12],
        # Ends in the middle of its code.
        'TruncatedInCode.dll': library[:len(library) // 3],
        # The offset of the headers points far beyond the end.
        'HeadersBeyondTheEnd.dll': library[:0x3C] + struct.pack('<I', 0x7FFFFFF0) + library[0x40:],
        # Two bytes that say "program", and then nothing.
        'TwoBytes.dll': b'MZ',
    }
    for name, data in contents.items():
        with open(os.path.join(directory, name), 'wb') as file:
            file.write(data)
    for name in ODD_NAMES.values():
        shutil.copyfile(effect, os.path.join(directory, name))
    deep = long_path(directory)
    os.makedirs(os.path.dirname(deep), exist_ok=True)
    shutil.copyfile(effect, deep)
    os.makedirs(os.path.join(directory, 'Folder.dll'), exist_ok=True)


if __name__ == '__main__':
    main(*sys.argv[1:])
