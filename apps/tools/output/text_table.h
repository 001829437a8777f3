/*
 * A table of texts with a header line, for people. On a terminal columns are left out, and then the widest
 * give way, until a row fits its width; elsewhere nothing is cut. Pure but for print.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class TextTable {
  public:
    /* spare: numbers of the columns that are left out where there is no room, the first one first. */
    explicit TextTable(std::vector<std::string> header, std::vector<size_t> spare = {});

    /* cells: one for each column of the header. */
    void add(std::vector<std::string> cells);

    /* The lines, each with its line end. columns: characters of a line, 0 for as many as it takes. */
    std::string text(size_t columns) const;

    /* Prints the table to standard output, the header strong. */
    void print() const;

  private:
    std::vector<std::vector<std::string>> rows_;
    std::vector<size_t> spare_;
};
