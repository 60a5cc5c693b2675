// Tables of tests as text: a row a line, its columns parted by " => ".

#ifndef TESTS_BASE_TEXT_ROWS_H_
#define TESTS_BASE_TEXT_ROWS_H_

#include <sstream>
#include <string>
#include <vector>

struct TextRow {
  std::string input, expected;
};

inline std::vector<TextRow> TextRows(const char* table) {
  std::vector<TextRow> rows;
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    const size_t at = line.find(" =>");
    if (at == std::string::npos) continue;
    rows.push_back({line.substr(0, at), ""});
    if (at + 4 < line.size()) rows.back().expected = line.substr(at + 4);
  }
  return rows;
}

#endif  // TESTS_BASE_TEXT_ROWS_H_
