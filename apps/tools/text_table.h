/*
 * A table of texts with a header line, for people. On a terminal the widest columns give way until a row fits
 * its width; elsewhere nothing is cut. Pure but for print.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class TextTable {
  public:
    explicit TextTable(std::vector<std::string> header);

    /* cells: one for each column of the header. */
    void add(std::vector<std::string> cells);

    /* The lines, each with its line end. columns: characters of a line, 0 for as many as it takes. */
    std::string text(size_t columns) const;

    /* Prints the table to standard output, the header strong. */
    void print() const;

  private:
    std::vector<size_t> widths(size_t columns) const;

    std::vector<std::vector<std::string>> rows_;
};
