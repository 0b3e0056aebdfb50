#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "agent/mrpctl/Json.h"
#include "agent/mrpctl/TextTable.h"

namespace MrpCtl {

// One table of the control socket as text, made of rows as they come. Rows are not kept, only the
// lines that they become, so that thousands of equal VLANs cost one line.
class TablePrinter final {
  public:
    // Throws std::invalid_argument for the name of no table (see Tables.h).
    explicit TablePrinter(const std::string& table);

    void rowIs(const Json& row) { layout_->add(sections_, row); }
    // Lines so far.
    std::size_t size() const;
    // Those of a table's sections that have lines, with an empty line between them; the titles of
    // the first one when none has.
    void print(std::ostream& out) const;

  private:
    using Sections = std::vector<TextTable>;
    struct Layout {
        const char* table;
        std::vector<std::vector<TextTable::Column>> sections;
        void (*add)(Sections& sections, const Json& row);
    };

    static const std::vector<Layout>& layouts();

    const Layout* layout_;
    Sections sections_;
};

}  // namespace MrpCtl
