// SPDX-License-Identifier: Apache-2.0

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "base/md5.h"
#include "base/number.h"
#include "model/codec.h"
#include "placement/bucketing.h"

// Prints parsed numbers, digests and 10,000 assignments, each to the last bit. The output must be
// the same for every processor, compiler and optimisation level; `scripts/test-cross` compares it.
// Fails if a value is known to be wrong.

namespace corvo {

using namespace corvo_internal;

namespace {

bool failed = false;

void expect(bool isRight, const char* what) {
  if (isRight) return;
  std::fprintf(stderr, "golden: %s is wrong\n", what);
  failed = true;
}

template <class... Values>
void print(const char* what, const Values&... values) {
  std::string line = what;
  ((line += ' ', line += values), ...);
  std::puts(line.c_str());
}

std::string bits(double value) {
  if (std::isnan(value)) return "nan";
  const auto word = std::bit_cast<std::uint64_t>(value);
  std::string digits;
  for (int at = 60; at >= 0; at -= 4) digits += "0123456789abcdef"[word >> at & 15];
  return digits;
}

/// The standard specifies the numbers of this engine, but not those of its distributions.
class Generator {
 public:
  std::uint64_t word() { return engine_(); }
  std::size_t below(std::uint64_t count) { return static_cast<std::size_t>(engine_() % count); }
  template <class List>
  auto oneOf(const List& list) {
    return list[below(list.size())];
  }
  std::string text(std::size_t most) {
    static const std::array<std::string, 8> kPieces{"a", "Z", "0", "-", " ", "é", "愛", "🐦"};
    std::string text;
    for (std::size_t left = below(most + 1); left != 0; --left) text += oneOf(kPieces);
    return text;
  }
  /// The double itself or one of its four nearest neighbours.
  double near(double value) {
    const double towards = below(2) == 0 ? 0 : HUGE_VAL;
    for (std::size_t steps = below(3); steps != 0; --steps) value = std::nextafter(value, towards);
    return value;
  }

 private:
  std::mt19937_64 engine_{1};
};

void printNumbers(Generator& random) {
  expect(base::parseDouble("0x1.8p1") == 3 && base::parseDouble("1e-400") == 0 &&
             base::parseDouble("9007199254740993") == 9007199254740992,
         "the reading of numbers");
  constexpr std::array kHeads{"", "", "-", "+", "0x", "-0X"};
  constexpr std::array kDigits{"",   "0",   "000", "1",    "7",
                               "93", "308", "324", "1074", "9007199254740993"};
  constexpr std::array kMarks{"", "", "e", "E+", "e-", "p", "P-", "f"};
  for (int i = 0; i < 5'000; ++i) {
    std::string text = random.oneOf(kHeads);
    for (int pieces = 0; pieces < 6; ++pieces) {
      text += pieces == 3 ? "." : random.oneOf(kDigits);
    }
    text += random.oneOf(kMarks);
    text += random.oneOf(kDigits);
    const auto value = base::parseDouble(text);
    print("number", text, value ? bits(*value) + ' ' + base::describe(*value) : "-");
  }
  for (int i = 0; i < 5'000; ++i) {
    const auto value = std::bit_cast<double>(random.word());
    const std::string text = base::describe(value);
    const double read = base::parseDouble(text).value_or(0);
    expect(bits(read) == bits(value), "a number that was written and read");
    const auto single = std::bit_cast<float>(static_cast<std::uint32_t>(random.word()));
    print("double", bits(value), text, base::describe(single));
  }
}

void printDigests(Generator& random) {
  // RFC 1321, appendix A.5
  expect(base::view(base::md5Hex("message digest")) == "f96b697d7cb7938d525a2f31aaf161d0",
         "the digest of the RFC");
  for (int i = 0; i < 1'000; ++i) {
    std::array<std::string, base::kMd5Lanes> texts;
    std::array<base::Md5Message, base::kMd5Lanes> messages;
    for (std::size_t lane = 0; lane < texts.size(); ++lane) {
      texts[lane] = random.text(60);
      messages[lane] = {texts[lane], texts[0]};
    }
    const auto digests = base::md5OfEach(messages);
    for (std::size_t lane = 0; lane < texts.size(); ++lane) {
      expect(digests[lane] == base::md5(texts[lane], texts[0]), "a digest beside others");
      print("digest", base::view(base::hexDigits(digests[lane])),
            std::to_string(placement::stringHash32(digests[lane])));
    }
  }
}

/// An experiment with boundaries within the last bits of the identifier's position.
model::Experiment experimentAround(const std::string& splitId, Generator& random,
                                   base::Pool& pool) {
  constexpr std::array kShares{0.0, 0.1, 0.25, 1.0 / 3, 0.333, 0.5, 0.995, 1.0, 1.5};
  model::Experiment experiment;
  experiment.name = pool.text("e");
  experiment.salt = pool.text(random.text(8));
  const double bucket = std::fabs(placement::bucketValue(splitId, experiment.salt));
  experiment.allocation =
      random.below(2) == 0 ? random.near(bucket / 100 / 100) : random.oneOf(kShares) * 2;

  double left = std::fmod(bucket, 100) / 100;
  const model::List<model::Text> forced = pool.list(std::vector{pool.text(splitId)});
  std::vector<model::Group> groups;
  for (std::size_t count = random.below(5); count != 0; --count) {
    model::Group& group = groups.emplace_back();
    group.name = pool.text(random.oneOf(std::array{"a", "b", "c"}));
    group.weight = random.below(2) == 0 ? random.near(left) : left * random.oneOf(kShares);
    left = std::fabs(left - group.weight);
    if (random.below(50) == 0) group.forcedUserList = forced;
  }
  experiment.groups = pool.list(groups);
  if (random.below(20) == 0) experiment.forcedUserList = forced;

  if (random.below(3) == 0) experiment.layerId = pool.text(random.text(4));
  const double layer = std::fabs(
      placement::bucketValue(splitId, experiment.layerId ? experiment.layerId->view() : "sad"));
  std::vector<model::LayerBounds> bounds;
  for (std::size_t count = random.below(3); count != 0; --count) {
    const double point = random.near(std::floor(layer / 10));
    const double width = static_cast<double>(random.below(3));
    bounds.push_back(random.below(2) == 0 ? model::LayerBounds{point, point + width}
                                          : model::LayerBounds{point - width, point});
  }
  experiment.layerBounds = pool.list(bounds);
  return experiment;
}

void printAssignments(Generator& random) {
  // Calculated by hand: 385719871 * 85407170560000 / 2^64.
  expect(placement::bucketValue("user-1", "salt1") == 1785.856771213581, "the bucket of user-1");
  const auto pool = std::make_shared<base::Pool>();
  model::ConfigResponse written{{}, {}, {pool}};
  std::vector<std::string> splitIds;
  for (int i = 0; i < 10'000; ++i) {
    splitIds.push_back("user-" + std::to_string(i) + random.text(30));
    written.experiments.push_back(experimentAround(splitIds.back(), random, *pool));
  }

  const std::string json = model::encodeJson(written).value_or("");
  const auto read = model::decodeJson<model::ConfigResponse>(json);
  const auto* const config = std::get_if<model::ConfigResponse>(&read);
  expect(config != nullptr && *config == written, "a configuration that was written and read");
  print("configuration", base::view(base::md5Hex(json)));
  if (config == nullptr) return;
  for (std::size_t i = 0; i < config->experiments.size(); ++i) {
    const auto placement = placement::assignGroup(splitIds[i], config->experiments[i]);
    const std::string group = placement.group ? std::to_string(placement.index) : "-";
    print("assignment", std::to_string(i), std::to_string(static_cast<int>(placement.reason)),
          group, bits(placement.bucket));
  }
}

}  // namespace
}  // namespace corvo

int main() {
  corvo::Generator random;
  corvo::printNumbers(random);
  corvo::printDigests(random);
  corvo::printAssignments(random);
  return corvo::failed ? 1 : 0;
}
