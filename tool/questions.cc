#include "tool/questions.h"

#include <map>
#include <optional>

namespace corvo::tool {
namespace {

Report askFlag(CorvoClient& client, const std::string& name) {
  const std::optional<std::string> text = client.checkFlag<std::string>(name).get();
  return flagReport({{name, typedProperty(text.value())}});
}

Report askFlags(CorvoClient& client, const std::string&) {
  const FlagReport values = client.getUserFeatureFlagsDetails().get();
  return flagReport({values.begin(), values.end()});
}

constexpr Question kQuestions[] = {
    {"flag", "NAME", "The value of one flag", askFlag},
    {"flags", nullptr, "The values of all flags that have one for the user", askFlags},
};

}  // namespace

std::span<const Question> questions() { return kQuestions; }

}  // namespace corvo::tool
