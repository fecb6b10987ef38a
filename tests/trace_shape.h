// The records of a trace as one line that shows who called whom and what was said: "Operation(...)" for what lies
// between an operation's entry and exit, "=..." for a result, 'text' for information, !text! for an error, "{}" for a
// dumped record. Levels count: a record of another level than its text has shows as it stands.
#pragma once

#include <string>
#include <vector>

namespace tests {

// `texts` without time and thread, as "[Trace] <DrvDriverEvent>".
inline std::string TraceShape(const std::vector<std::string>& texts) {
  const std::string trace = "[Trace] ", info = "[Info]  ", error = "[Error] ";
  std::string shape;
  bool in_dump = false;
  for (const std::string& text : texts) {
    const std::string said = text.substr(std::min(text.size(), trace.size()));
    if (text == info + "<Public-DevMode>") in_dump = true;
    if (in_dump && text.starts_with(info)) {
      if (said == "</Private-DevMode>") in_dump = false, shape += "{}";
      continue;
    }
    const bool has_space = shape.empty() || shape.ends_with('(');
    if (text.starts_with(trace + "</")) {
      shape += ")";
      continue;
    }
    if (!has_space) shape += ' ';
    if (text.starts_with(trace + "<")) {
      shape += said.substr(1, said.size() - 2) + "(";
    } else if (text.starts_with(trace + "Return: ")) {
      shape += "=" + said.substr(8);
    } else if (text.starts_with(info)) {
      shape += "'" + said + "'";
    } else if (text.starts_with(error)) {
      shape += "!" + said + "!";
    } else {
      shape += text;
    }
  }
  return shape;
}

}  // namespace tests
