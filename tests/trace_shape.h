// The records of a trace as one line that shows who called whom and what was said: "Operation(...)" for what lies
// between an operation's entry and exit, "=..." for a result, 'text' for information, !text! for an error, "{}" for a
// dumped record. Levels count: a record of another level than its text has shows as it stands.
#pragma once

#include <string>
#include <vector>

namespace tests {

// `texts` without time and thread, as "[Trace] <DrvDriverEvent>".
inline std::string TraceShape(const std::vector<std::string>& texts) {
  std::string shape;
  bool in_dump = false;
  for (const std::string& text : texts) {
    const std::string level = text.substr(0, 8), said = text.substr(level.size());
    if (text == "[Info]  <Public-DevMode>") in_dump = true;
    if (in_dump && level == "[Info]  ") {
      if (said == "</Private-DevMode>") in_dump = false, shape += "{}";
    } else if (text.starts_with("[Trace] </")) {
      shape += ")";
    } else {
      if (!shape.empty() && !shape.ends_with('(')) shape += ' ';
      if (text.starts_with("[Trace] <")) {
        shape += said.substr(1, said.size() - 2) + "(";
      } else if (text.starts_with("[Trace] Return: ")) {
        shape += "=" + said.substr(8);
      } else {
        shape += level == "[Info]  " ? "'" + said + "'" : level == "[Error] " ? "!" + said + "!" : text;
      }
    }
  }
  return shape;
}

}  // namespace tests
