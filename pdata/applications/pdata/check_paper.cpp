#include "check_paper.h"

#include <string>

namespace
{

struct paper_t {
    std::string_view name;
    std::string_view text;
};

constexpr paper_t papers[] = {
#include "check_paper.inc"
};

} // namespace

std::string_view check_paper_section(std::string_view id)
{
    const std::string_view text = papers[0].text;
    const size_t begin = text.find("\n## " + std::string(id) + "\n");
    if (begin == text.npos)
        return {};
    const std::string_view section = text.substr(begin + 1);
    return section.substr(0, section.find("\n#", 1));
}
