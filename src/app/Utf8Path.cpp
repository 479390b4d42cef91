#include "app/Utf8Path.h"

#include <glibmm/convert.h>

namespace trelis {

std::string utf8Path(const char* argument) {
    try {
        return Glib::filename_to_utf8(argument).raw();
    } catch (const Glib::ConvertError&) {
        return argument;
    }
}

}  // namespace trelis
