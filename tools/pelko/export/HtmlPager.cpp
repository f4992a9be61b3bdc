#include "tools/pelko/export/HtmlPager.h"

#include <algorithm>
#include <set>

namespace pelkotool {

using ctemplate::TemplateDictionary;

namespace {

/// The neighbours of the page; first and last have links of their own.
std::set<std::size_t> nearPages(std::size_t page, std::size_t count) {
    constexpr std::size_t reach = 2;
    std::set<std::size_t> near;
    for (std::size_t at = page > reach ? page - reach : 1; at <= std::min(page + reach, count); ++at) {
        near.insert(at);
    }
    return near;
}

/// So far are the pages apart that a list on every page can hold.
std::size_t stepOfList(std::size_t count) {
    constexpr std::size_t most = 200;
    return (count + most - 1) / most;
}

/// Always with the last one, too.
std::set<std::size_t> listedPages(std::size_t count) {
    std::set<std::size_t> listed = {count};
    for (std::size_t at = 1; at <= count; at += stepOfList(count)) {
        listed.insert(at);
    }
    return listed;
}

void putLink(TemplateDictionary& values, const char* section, std::size_t page) {
    values.AddSectionDictionary(section)->SetValue("PAGE", std::to_string(page));
}

void putEntries(TemplateDictionary& values, const char* section, const std::set<std::size_t>& entries,
                const PageDays& days, std::size_t page) {
    for (const std::size_t at : entries) {
        TemplateDictionary& entry =
            *values.AddSectionDictionary(section)->AddSectionDictionary(at == page ? "HERE" : "THERE");
        entry.SetValue("PAGE", std::to_string(at));
        entry.SetValue("DAY", days[at - 1]);
    }
}

}  // namespace

void putPager(const PageDays& days, std::size_t page, TemplateDictionary& values) {
    const std::size_t count = days.size();
    if (page > 1) {
        putLink(values, "FIRST", 1);
        putLink(values, "PREVIOUS", page - 1);
    }
    if (page < count) {
        putLink(values, "NEXT", page + 1);
        putLink(values, "LAST", count);
    }
    putEntries(values, "NEAR", nearPages(page, count), days, page);
}

void putPageList(const PageDays& days, std::size_t page, TemplateDictionary& values) {
    const std::size_t count = days.size();
    TemplateDictionary& list = *values.AddSectionDictionary("LIST");
    list.SetValue("COUNT", std::to_string(count));
    list.SetValue("STEP", std::to_string(stepOfList(count)));
    list.ShowSection(stepOfList(count) == 1 ? "ALL" : "STEPS");
    putEntries(list, "FAR", listedPages(count), days, page);
}

}  // namespace pelkotool
