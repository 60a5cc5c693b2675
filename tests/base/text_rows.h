// Tables of tests as text: a row a line, or parted by something else; columns
// are parted by " => ".

#ifndef TESTS_BASE_TEXT_ROWS_H_
#define TESTS_BASE_TEXT_ROWS_H_

#include <algorithm>
#include <string>
#include <vector>

struct TextRow {
  std::string input, expected;
};

inline std::vector<TextRow> TextRows(const std::string& table,
                                     const std::string& separator = "\n") {
  std::vector<TextRow> rows;
  for (size_t from = 0, end; from < table.size();
       from = end + separator.size()) {
    end = std::min(table.find(separator, from), table.size());
    const std::string row = table.substr(from, end - from);
    const size_t at = row.find(" =>");
    if (at == std::string::npos) continue;
    rows.push_back({row.substr(0, at), ""});
    if (at + 4 < row.size()) rows.back().expected = row.substr(at + 4);
  }
  return rows;
}

#endif  // TESTS_BASE_TEXT_ROWS_H_
