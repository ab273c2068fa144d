// A page of docs/ as its tables and blocks of code, for the tests that try what it says.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orvo::testing {

class DocumentPage {
 public:
  using Row = std::vector<std::string>;  // the cells, the first one without its marks of code

  // Fails the test when there is no such file.
  explicit DocumentPage(const std::string& path);

  // The rows of the tables whose first column has this heading. Fails the test when there are less than
  // `least`.
  std::vector<Row> Table(const std::string& heading, std::size_t least) const;
  // The block of code with this mark. Fails the test when there is none.
  std::string Block(const std::string& mark) const;

 private:
  std::vector<std::string> lines_;
};

}  // namespace orvo::testing
