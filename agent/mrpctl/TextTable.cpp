#include "agent/mrpctl/TextTable.h"

#include <algorithm>
#include <utility>

namespace MrpCtl {

namespace {

// Characters of UTF-8: all octets but those that continue one.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char octet) { return (octet & 0xc0) != 0x80; }));
}

}  // namespace

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

void TextTable::lineIs(Line line) {
    vlans_.reset();
    line.resize(columns_.size());
    lines_.push_back(std::move(line));
}

void TextTable::vlanLineIs(Line line, std::size_t vlanColumn, unsigned vlan) {
    if (continues(line, vlanColumn) && vlans_->add(vlan)) {
        lines_.back()[vlanColumn] = vlans_->text();
        return;
    }
    line[vlanColumn] = std::to_string(vlan);
    lineIs(std::move(line));
    vlans_.emplace(vlan);
}

bool TextTable::continues(const Line& line, std::size_t vlanColumn) const {
    if (!vlans_) {
        return false;
    }
    const Line& last = lines_.back();
    for (std::size_t column = 0; column < columns_.size(); ++column) {
        if (column != vlanColumn && line[column] != last[column]) {
            return false;
        }
    }
    return true;
}

void TextTable::print(std::ostream& out) const {
    Line titles;
    std::vector<std::size_t> widths;
    for (const Column& column : columns_) {
        titles.push_back(column.title);
        widths.push_back(widthOf(column.title));
    }
    for (const Line& line : lines_) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            widths[column] = std::max(widths[column], widthOf(line[column]));
        }
    }
    printLine(out, titles, widths);
    for (const Line& line : lines_) {
        printLine(out, line, widths);
    }
}

void TextTable::printLine(std::ostream& out, const Line& line,
                          const std::vector<std::size_t>& widths) const {
    std::string text;
    for (std::size_t column = 0; column < line.size(); ++column) {
        const std::string padding(widths[column] - widthOf(line[column]), ' ');
        text += column == 0 ? "" : "  ";
        text += columns_[column].right ? padding + line[column] : line[column] + padding;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    out << text << '\n';
}

}  // namespace MrpCtl
