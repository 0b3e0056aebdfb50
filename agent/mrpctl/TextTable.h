#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "agent/mrpctl/VlanRanges.h"

namespace MrpCtl {

// Lines of cells, printed as aligned columns below their titles.
class TextTable final {
  public:
    struct Column {
        std::string title;
        bool right = false;  // aligned, as numbers are
    };
    using Line = std::vector<std::string>;  // as many cells as there are columns

    explicit TextTable(std::vector<Column> columns);

    void lineIs(Line line);
    // The line of one VLAN, whose number goes into that cell. It becomes part of the line before
    // when that is one of smaller VLANs and equal in all other cells, and its ranges stay short.
    void vlanLineIs(Line line, std::size_t vlanColumn, unsigned vlan);

    // Lines that are printed, without the titles.
    std::size_t size() const { return lines_.size(); }
    // Cells are padded to the widest of their column, counted in characters of UTF-8. No line ends
    // with a blank.
    void print(std::ostream& out) const;

  private:
    bool continues(const Line& line, std::size_t vlanColumn) const;
    void printLine(std::ostream& out, const Line& line,
                   const std::vector<std::size_t>& widths) const;

    std::vector<Column> columns_;
    std::vector<Line> lines_;
    std::optional<VlanRanges> vlans_;  // of the last line
};

}  // namespace MrpCtl
