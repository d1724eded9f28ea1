"""type_library_time.py FILE: takes the time of its making out of a type library, so that every build gives the same bytes.

The compiler writes the time twice: as a text in its own time zone, here UTC, and as a number in a value of the kind VT_UI4.
"""
import calendar
import re
import struct
import sys
import time

with open(sys.argv[1], "r+b") as file:
    library = file.read()
    (made,) = re.findall(rb"Created by WIDL version [\d.]+ at (\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4})", library)
    VT_UI4 = 19
    number = struct.pack("<HI", VT_UI4, int(calendar.timegm(time.strptime(made.decode()))))
    if library.count(number) != 1:
        sys.exit(f"{sys.argv[1]}: the time of its making is not where it is expected.")
    library = library.replace(number, struct.pack("<HI", VT_UI4, 0)).replace(made, time.asctime(time.gmtime(0)).encode())
    file.seek(0)
    file.write(library)
