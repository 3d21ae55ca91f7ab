#include "pdata_cfg_builtin.h"

namespace
{

struct builtin_file_t {
    std::string_view name;
    std::string_view text;
};

constexpr builtin_file_t builtin_files[] = {
#include "pdata_cfg_builtin.inc"
};

} // namespace

std::string_view pdata_cfg_builtin(std::string_view name)
{
    for (const builtin_file_t &file : builtin_files)
        if (file.name == name)
            return file.text;
    return {};
}
