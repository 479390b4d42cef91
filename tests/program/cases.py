"""What the program is run with, and the golden file that holds its whole output.

`@` stands for the folder of the sample recording. Every case has a home directory of its own that
holds `home` files, and runs in an empty directory that holds `files`.
"""

DBC = """\
VERSION ""

BU_: ECU

BO_ 256 Engine: 8 ECU
 SG_ Speed : 0|16@1+ (0.1,0) [0|6553.5] "rpm" Vector__XXX
 SG_ Temp : 16|8@1- (1,-40) [0|0] "" Vector__XXX

BO_ 2147484672 Gear: 2 ECU
 SG_ Mode M : 0|4@1+ (1,0) [0|0] "" Vector__XXX
 SG_ First m1 : 8|8@1+ (1,0) [0|0] "" Vector__XXX

VAL_ 2147484672 Mode 1 "one" 2 "two" ;
"""
BAD_DBC = DBC + 'BO_ 256 Again: 8 ECU\n'

CASES = {
    # name: (arguments, {files in the working directory}, {files in the home directory})
    "usage": (["-h"], {}, {}),
    "long_help": (["--help"], {}, {}),
    "version": (["-v"], {}, {}),
    "unknown_option": (["-k", "x"], {}, {}),
    "empty_key": (["-y", "", "-h"], {}, {}),
    "list_dbc": (["-l", "-d", "a.dbc"], {"a.dbc": DBC}, {}),
    "list_sample": (["-l", "-f", "@/drive.vsd"], {}, {}),
    "list_nothing": (["-l"], {}, {}),
    "duplicate_message": (["-q", "-d", "a.dbc"], {"a.dbc": BAD_DBC}, {}),
    "missing_dbc": (["-q", "-d", "absent.dbc"], {}, {}),
    "missing_vsd": (["-q", "-f", "absent.vsd"], {}, {}),
    "directory_as_dbc": (["-q", "-d", "."], {}, {}),
    "bad_patterns": (["-q", "-d", "a.dbc", "-s", "Can", "-s", "*.*.*"], {"a.dbc": DBC}, {}),
    "no_signal_name": (["-q", "-d", "a.dbc", "-s", "Can.Engine"], {"a.dbc": DBC}, {}),
    "no_recordings": (["-q", "-d", "a.dbc", "notes.txt", "absent"],
                      {"a.dbc": DBC, "notes.txt": "no recording"}, {}),
    "dbc_argument_wins_over_vsd": (["-q", "-d", "a.dbc", "-f", "b.vsd"],
                                   {"a.dbc": DBC, "b.vsd": "[x"}, {}),
    "results": (["-q", "-f", "@/drive.vsd", "-s", "Virt.*.*", "@/drive_0001.bin",
                 "@/drive_0002.bin"], {}, {}),
    "results_without_heads": (["-qi", "-f", "@/drive.vsd", "-s", "Virt.*.*",
                               "@/drive_0002.bin", "@/drive_0001.bin"], {}, {}),
    "real_signals_print_nothing": (["-q", "-f", "@/drive.vsd", "-s", "Powertrain.*.*",
                                    "@/drive_0001.bin"], {}, {}),
    "damaged_settings": (["-q", "-d", "a.dbc"], {"a.dbc": DBC}, {".sigmira": "[glo\x00"}),
}
