"""What the program is run with, and the golden file that holds its whole output.

`@` stands for the folder of the sample recording. Every case has a home directory of its own that
holds `home` files, and runs in an empty directory that holds `files`; names may hold folders.
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
WIDE_DBC = DBC + 'BO_ 257 Wide: 8 ECU\n SG_ Distance : 0|40@1+ (1,0) [0|0] "m" Vector__XXX\n'
VSD = """\
[settings]
ifname_0=Can
dbcfile_0=a.dbc

[Trip.Revolutions]
method=integrate
signal=Can.Engine.Speed
"""
BAD_VSD = VSD + "\n[Trip.Lost]\nmethod=inv\nsignal_01=Can.Engine.Gone\nstep=10\n"

CASES = {
    # name: (arguments, {files in the working directory}, {files in the home directory})
    "usage": (["-h"], {}, {}),
    "long_help": (["--help"], {}, {}),
    "version": (["-v"], {}, {}),
    "unknown_option": (["-k", "x"], {}, {}),
    "empty_key": (["-y", "", "-h"], {}, {}),
    "list_dbc": (["-l", "-d", "a.dbc"], {"a.dbc": WIDE_DBC}, {}),
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
    "positional_order": (["-q", "absent.txt", "@/drive_0001.bin", "x.dbc"], {"x.dbc": DBC}, {}),
    "suffix_in_capitals": (["-l", "A.DBC", "ignored"], {"A.DBC": WIDE_DBC}, {}),
    "folders": (["-q", "deep", "flat"], {"deep/a/b/c/x": "", "flat/a/b/y": "no recording"}, {}),
    "stored_connection": (["-l", "to/x.TvLive", "ignored"],
                          {"to/x.TvLive": "TITLE=T\r\nOTHER=\r\nDBC=a.dbc\r\n",
                           "to/a.dbc": WIDE_DBC}, {}),
    "missing_connection": (["-q", "gone.tvlive"], {}, {}),
    "directory_as_connection": (["-q", "x.tvlive"], {"x.tvlive/inside": ""}, {}),
    "last_definitions_are_used": (["-l"], {}, {".sigmira": "[global]\nvsdFile=./dummy\n"
                                               "dbFile=HOME/a.dbc\n", "a.dbc": WIDE_DBC}),
    "no_interface_of_this_name": (["--can", "lan0"], {}, {}),
    "tolerant": (["-q", "--tolerant", "-d", "a.dbc"], {"a.dbc": BAD_DBC}, {}),
    "check_sample": (["--check", "-f", "@/drive.vsd"], {}, {}),
    "check_sound": (["--check", "-f", "a.vsd"], {"a.dbc": DBC, "a.vsd": VSD}, {}),
    "check_findings": (["--check", "-d", "a.dbc"], {"a.dbc": WIDE_DBC + BAD_DBC}, {}),
    "check_tolerant": (["--check", "--tolerant", "-d", "a.dbc"], {"a.dbc": WIDE_DBC}, {}),
    "check_failed_group": (["--check", "a.vsd"], {"a.dbc": DBC, "a.vsd": BAD_VSD}, {}),
    "check_missing_dbc": (["--check", "-d", "gone.dbc"], {}, {}),
    "check_missing_vsd": (["--check", "-f", "gone.vsd"], {}, {}),
    "check_nothing": (["--check"], {}, {}),
    "damaged_settings": (["-q", "-d", "a.dbc"], {"a.dbc": DBC}, {".sigmira": "[glo\x00"}),
}
# These print what another case prints.
SAME_OUTPUT = {"suffix_in_capitals": "list_dbc", "stored_connection": "list_dbc",
               "last_definitions_are_used": "list_dbc",
               "no_interface_of_this_name": "unknown_option"}
