#include "app/HelpText.h"

namespace trelis {

std::string usageText(std::string_view programName) {
    return std::string(programName) +
           " [OPTIONS] [<logfile> [<logfile> ...]]\n"
           "OPTIONS:\n"
           "\t -l            list messages and signals\n"
           "\t -d <file>     DBC file to use\n"
           "\t -f <file>     Virtual Signal Definition file to use\n"
           "\t -s <Signal>   may be called any number of times\n"
           "\t -n <host>     read from network\n"
           "\t -y <key>      key to use for decrypting network stream\n"
           "\t -p <port>     optional, default 777\n"
           "\t -t <title>    set title on this window\n"
           "\t -e            print VSD examples\n"
           "\t -g            connect controls with other sigmira windows\n"
           "\t -q            print output to stdout and quit (no GUI)\n"
           "\t -i            omit headers when printing to stdout (-q)\n"
           "\t -v            print version information\n"
           "\t -o            print can data in ASC format\n"
           "\t -m            same as -o but timestamps are printed in date format\n"
           "\n"
           "All user specific settings, signal colors etc. are stored in\n"
           "user home dir in file '.sigmira'.\n"
           "DBC file and Virtual Signal Definition (VSD) file settings\n"
           "are automatically stored in the settings file. These need\n"
           "only be specified when changing DBC or VSD file.\n";
}

std::string longOptionsText() {
    return "\n"
           "LONG OPTIONS:\n"
           "\t --help             print the usage and these options\n"
           "\t --csv              the files are CSV tables; needs no DBC\n"
           "\t --asc              the files are ASC traces\n"
           "\t --can <interface>  read a CAN interface of this machine: can0, can1..., any\n"
           "\t --check            load the definitions, list what the readers passed over\n"
           "\t --tolerant         keep what a DBC file holds beyond the strict rules\n"
           "\t --progress         show progress on standard error, if it is a terminal\n";
}

}  // namespace trelis
