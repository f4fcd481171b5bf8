// The table of global names the parser fills when it runs on its own: each
// new name takes the next index.
#pragma once

#include <string>
#include <vector>

#include "script/parser.h"

namespace tulscript {

class Names : public GlobalNames {
 public:
  int globalIndex(const std::string& name) override {
    for (std::size_t i = 0; i < names.size(); ++i)
      if (names[i] == name) return static_cast<int>(i);
    names.push_back(name);
    return static_cast<int>(names.size() - 1);
  }
  std::vector<std::string> names;
};

}  // namespace tulscript
