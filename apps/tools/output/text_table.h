/*
 * A table of texts with a header line. On a terminal, spare columns are left out and then the widest ones
 * narrowed until a row fits the width; elsewhere nothing is truncated. Pure except print.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "output/terminal.h"

class TextTable {
  public:
    /* spare: numbers of the columns that may be left out, in this order. */
    explicit TextTable(std::vector<std::string> header, std::vector<size_t> spare = {});

    /* cells: one for each column of the header. style: of the row on a terminal. */
    void add(std::vector<std::string> cells, Style style = Style::kPlain);

    /* The lines, each with its line end. columns: maximum characters of a line, 0 for no limit. */
    std::string text(size_t columns) const;

    /* Prints the table to standard output, the header in bold. */
    void print() const;

  private:
    std::vector<std::vector<std::string>> rows_;
    std::vector<Style> styles_; /* of the rows, the header included */
    std::vector<size_t> spare_;
};
