#include "drivers/common/nbElemName.h"

#include <string>

std::optional<NbElemName> nbpElemSplit(const char* name, std::size_t longest, std::size_t kept)
{
    if (name == nullptr || *name == '\0') return std::nullopt;
    const std::string_view whole(name);
    const std::size_t bar = whole.find('_');
    if (bar == std::string_view::npos) {
        if (whole.size() > longest) return std::nullopt;
        return NbElemName{.channel = whole.substr(0, kept), .counts = true};
    }
    const std::string_view behind = whole.substr(bar + 1);
    if (behind.size() > 1) return std::nullopt;
    return NbElemName{.channel = whole.substr(0, bar),
                      .counts = false,
                      .suffix = behind.empty() ? '\0' : behind.front()};
}

std::string_view nbpElemResolve(std::string_view channel, std::span<const NbElemAlias> rules)
{
    for (const NbElemAlias& rule : rules)
        if (channel == rule.alias) channel = rule.channel;
    return channel;
}

int nbpElemFindRow(std::string_view channel, std::span<const NbElemRow> rows)
{
    const std::string_view letters = channel.substr(0, 3);
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (std::string_view(rows[i].names).substr(0, 3) == letters) return static_cast<int>(i);
    return -1;
}

bool nbpElemIsListed(std::string_view list, std::string_view word)
{
    // Commas around both make the word a whole one.
    const std::string inCommas = ',' + std::string(list) + ',';
    return inCommas.find(',' + std::string(word) + ',') != std::string::npos;
}
