#include "platform/SecretMask.h"

#include <gtest/gtest.h>

#include <array>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <cstdio>
#include <iterator>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonText.h"

namespace vemo {
namespace {

using boost::json::object;

std::string masked(std::string_view text, const SecretMask& mask = SecretMask()) {
  std::string buffer;
  return std::string(mask.masked(text, buffer));
}

/// The masked text, with each hash written as "#", so that it can be compared.
std::string shape(std::string_view text, const SecretMask& mask = SecretMask()) {
  static const std::regex hash(R"((\*\*\*)[0-9a-f]{8}|(1000)[0-9]{6})");
  return std::regex_replace(masked(text, mask), hash, "$1$2#");
}

std::string inJson(std::string_view text) {
  std::string out;
  appendJsonString(out, text);
  return out;
}

TEST(SecretMask, MasksTheValueAndNothingElse) {
  EXPECT_EQ(shape(R"({"userId":"ada","userSig":"eJx1","roomId":7})"),
            R"({"userId":"ada","userSig":"***#","roomId":7})");
  EXPECT_EQ(shape(R"(webview(0x5581) : {"userSig":"eJx1"})"),
            R"(webview(0x5581) : {"userSig":"***#"})");
  EXPECT_EQ(shape(R"([{"a":{"userSig":"s"}},{"userSig":"t"}])"),
            R"([{"a":{"userSig":"***#"}},{"userSig":"***#"}])");
}

TEST(SecretMask, LeavesTextWithoutSecretsWhereItIs) {
  std::string buffer;
  for (const std::string_view text :
       {"", "exitRoom::::::", R"({"userId":"userSig","x":["userSig"]})", R"({"userSigs":"a"})",
        R"({"UserSig":"a"})", R"({"auserSig":"a"})", "{\"userSig\"}", "userSig:", R"("userSig":)",
        R"({"userSig":})", R"({"userSig":""})", "\\\"\\\\\"\"", R"({"userSig)", R"({"userSig")"}) {
    const auto result = SecretMask().masked(text, buffer);
    EXPECT_EQ(result, text);
    EXPECT_EQ(result.data(), text.data()) << "a copy was made of " << text;
  }
}

TEST(SecretMask, BlanksMayStandAroundTheColon) {
  EXPECT_EQ(shape("{\"userSig\" \n\t:\r  \"a b\" }"), "{\"userSig\" \n\t:\r  \"***#\" }");
  EXPECT_EQ(shape(inJson("{\"userSig\" \n\t:\r  \"a b\" }")),
            R"("{\"userSig\" \n\t:\r  \"***#\" }")");
}

TEST(SecretMask, KeysAndValuesMayHoldEscapes) {
  EXPECT_EQ(shape(R"({"user\u0053ig":"a"})"), R"({"user\u0053ig":"***#"})");
  EXPECT_EQ(shape(R"({"\u0075\u0073er\u0053\u0069g":"a"})"),
            R"({"\u0075\u0073er\u0053\u0069g":"***#"})");
  EXPECT_EQ(shape(R"({"userSig":"a\"b\\","x":"y"})"), R"({"userSig":"***#","x":"y"})");
  EXPECT_EQ(shape(R"({"userSig":"a\\\"b\u0022c","x":"y"})"), R"({"userSig":"***#","x":"y"})");
  EXPECT_EQ(shape(R"("{\u0022userSig\u0022\u003A\u0022a\u0022,\u0022x\u0022:1}")"),
            R"("{\u0022userSig\u0022\u003A\u0022***#\u0022,\u0022x\u0022:1}")");
}

TEST(SecretMask, EscapesMayBeEscapedInAnyWay) {
  // The same text in a text each time: its inner quotes are backslash and quote, and either may
  // be written as a code unit, digits and all.
  for (const std::string_view quote :
       {R"(\")", R"(\u0022)", R"(\\u0022)", R"(\\u\u0030022)", R"(\u005cu0022)", R"(\\\u0022)",
        R"(\u005c\u0022)", R"(\\\u007500\u0032\u0032)", R"(\\\\u\\u0030022)"}) {
    const auto written = [&](std::string_view secret) {
      std::string text = "\"{";
      for (const auto part : {std::string_view("userSig"), std::string_view(":"), secret})
        text.append(part == ":" ? "" : quote).append(part).append(part == ":" ? "" : quote);
      return text + "}\"";
    };
    EXPECT_EQ(shape(written("s")), written("***#"));
  }
  const std::string other = R"("{\\u005c\\u00220022userSig\\u0022:1}")";
  EXPECT_EQ(masked(other), other);
}

TEST(SecretMask, WhatIsTooDeepIsHidden) {
  const auto nested = [](int times, std::string_view innermost) {
    std::string text(innermost);
    for (int i = 0; i < times; ++i) text = inJson(std::string("[").append(text).append("]"));
    return text;
  };
  const std::string secret = R"({"a":1,"userSig":"top-secret"})";
  EXPECT_NE(shape(nested(8, secret)).find(R"("***#)"), std::string::npos);
  const auto deep = masked(nested(9, secret) + R"(,{"userSig":"b","c":"d"})");
  EXPECT_EQ(deep.find("secret"), std::string::npos) << deep;
  EXPECT_TRUE(deep.ends_with(R"(,"c":"d"})")) << "what is not deep stays: " << deep;
  auto inner = boost::json::parse(deep.substr(0, deep.find(R"(,{"userSig")")));
  for (int i = 0; i < 8; ++i) inner = boost::json::parse(inner.as_string()).at(0);
  EXPECT_EQ(inner, R"([{***)") << "each text around it is whole";

  const auto harmless = nested(12, R"({"a":"b"})");
  EXPECT_EQ(masked(harmless), harmless);
}

TEST(SecretMask, ValuesThatAreNoTextAreMaskedAsAWholeAndAreNoneAfterwards) {
  EXPECT_EQ(shape(R"({"userSig":12.5e3,"x":1})"), R"({"userSig":1000#,"x":1})");
  EXPECT_EQ(shape(R"({"userSig":[1,{"a":"]\"}"}],"x":1})"), R"({"userSig":["***"],"x":1})");
  EXPECT_EQ(shape(inJson(R"({"userSig":{"a":"}"},"x":1})")),
            R"("{\"userSig\":{\"***\":\"***\"},\"x\":1}")");
  EXPECT_EQ(shape(R"({"userSig":7)"), R"({"userSig":1000#)");
  EXPECT_EQ(shape(R"({"userSig":se cret})"), R"({"userSig":"***#" cret})");
  for (const std::string value : {"null", " true ", "false", "{ }", "[]"})
    EXPECT_EQ(masked(R"({"userSig":)" + value + "}"), R"({"userSig":)" + value + "}");
  EXPECT_EQ(shape(R"({"userSig":[1,"se)"), R"({"userSig":"***")");
}

TEST(SecretMask, TextThatBreaksOffHidesWhatThereIs) {
  const std::string whole = R"({"head":{"action":"enterRoom"},"params":{"userSig":"top-secret"}})";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const auto text = masked(whole.substr(0, length));
    EXPECT_EQ(text.find("to"), std::string::npos) << text;
    const auto inner = masked(inJson(whole.substr(0, length)));
    EXPECT_EQ(inner.find("to"), std::string::npos) << inner;
    EXPECT_TRUE(boost::json::parse(inner).is_string());
    const auto cut = inJson(whole);
    EXPECT_EQ(masked(cut.substr(0, length)).find("to"), std::string::npos);
  }
  EXPECT_EQ(masked(R"({"userSig":"sec)"), R"({"userSig":"***)");
  EXPECT_EQ(masked(R"({"userSig":"sec\)"), R"({"userSig":"***\)");
  EXPECT_EQ(masked(R"({"userSig":"sec\u00)"), R"({"userSig":"***)");
  EXPECT_EQ(masked(inJson(R"({"userSig":"sec)")), R"("{\"userSig\":\"***")");
}

TEST(SecretMask, QuotesInTheTextAroundDoNotHideAKey) {
  EXPECT_EQ(shape(R"(a 5" screen: {"userSig":"s"})"), R"(a 5" screen: {"userSig":"***#"})");
  EXPECT_EQ(shape(R"(he said \"{"userSig":"s"}\")"), R"(he said \"{"userSig":"***#"}\")");
  EXPECT_EQ(shape(R"("{\"userSig\":\"s\"}" and {"userSig":"t"})"),
            R"("{\"userSig\":\"***#\"}" and {"userSig":"***#"})");
}

TEST(SecretMask, TheSameSecretHasTheSameStandIn) {
  const auto first = masked(R"({"userSig":"a/b\u0041"})");
  EXPECT_EQ(first, masked(R"({"userSig":"a\/bA"})"));
  EXPECT_EQ(inJson(first), masked(inJson(R"({"userSig":"a/bA"})"))) << "as deep as may be";
  EXPECT_NE(first, masked(R"({"userSig":"a/bB"})"));
  EXPECT_EQ(first.find("a/b"), std::string::npos);
}

TEST(SecretMask, InWhicheverFormASecretIsWrittenItHasOneStandIn) {
  EXPECT_EQ(masked(R"({"userSig":"\ud83d\ude00\u00e9\u20ac"})"), masked(R"({"userSig":"😀é€"})"));
  EXPECT_EQ(inJson(masked(R"({"userSig":"😀"})")), masked(R"("{\"userSig\":\"\\ud83d\\ude00\"}")"));
  EXPECT_EQ(masked(R"({"userSig":"\ude00a\ud83d"})"), masked("{\"userSig\":\"\uFFFDa\uFFFD\"}"))
      << "as readers of JSON have what is half a character";
  // A number may be taken as a text, and a text as a number.
  const auto valueOf = [](const std::string& value) {
    return boost::json::parse(masked(R"({"userSig":)" + value + "}")).at("userSig");
  };
  const auto number = valueOf("12345678");
  ASSERT_TRUE(number.is_int64());
  EXPECT_EQ(valueOf(R"("12345678")").as_string(), std::to_string(number.get_int64()));
  EXPECT_EQ(valueOf("1.5e3"), valueOf("1.5E3"));
  EXPECT_NE(valueOf("12345679"), number);
  for (const auto* text : {R"("1-2")", R"("e5")", R"("0x12")", R"("-")", R"("1 2")"})
    EXPECT_TRUE(valueOf(text).as_string().starts_with("***")) << text;
}

TEST(SecretMask, OfManySecretsTheFirstThousandCanBeTold) {
  std::string text;
  for (int i = 0; i < 1500; ++i) text += R"({"userSig":"top-secret"},)";
  const auto hidden = masked(text);
  EXPECT_EQ(hidden.find("secret"), std::string::npos);
  static const std::regex told(R"("\*\*\*[0-9a-f]{8}")");
  static const std::regex untold(R"("\*\*\*")");
  const auto count = [&](const std::regex& what) {
    return std::distance(std::sregex_iterator(hidden.begin(), hidden.end(), what), {});
  };
  EXPECT_EQ(count(told), 1000);
  EXPECT_EQ(count(untold), 500);
}

TEST(SecretMask, AnyKeysCanBeMasked) {
  const SecretMask mask({"token", "clé", "a\"b"});
  EXPECT_EQ(shape(R"({"token":"i","cl\u00e9":"j","clé":"k","userSig":"4","a\"b":"l"})", mask),
            R"({"token":"***#","cl\u00e9":"***#","clé":"***#","userSig":"4","a\"b":"***#"})");
  EXPECT_EQ(masked(R"({"userSig":"4"})", SecretMask(std::vector<std::string>())),
            R"({"userSig":"4"})");
}

/// JSON of any shape that holds secrets, some of it as text in text.
class RandomJson {
 public:
  explicit RandomJson(unsigned seed) : random_(seed) {}

  boost::json::value value(int depth) {
    switch (depth == 0 ? random_() % 3 : random_() % 6) {
      case 0: return boost::json::string(text());
      case 1: return static_cast<std::int64_t>(random_() % 1000);
      case 2: return nullptr;
      case 3: return boost::json::array{value(depth - 1), value(depth - 1)};
      case 4: return boost::json::string(jsonText(value(depth - 1)));
      default: {
        object made{{text(), value(depth - 1)}, {"x", value(depth - 1)}};
        if (random_() % 2 != 0) made["userSig"] = "SECRET" + text();
        return made;
      }
    }
  }

 private:
  std::string text() {
    static const std::vector<std::string> kPieces{"a", "\"", "\\",      "{",       "}", ":",   ",",
                                                  "é", "\n", "\\u0022", "userSig", " ", "\x7f"};
    std::string made;
    for (auto count = random_() % 5; count > 0; --count)
      made += kPieces[random_() % kPieces.size()];
    return made;
  }

  std::mt19937 random_;
};

/// Writes JSON with characters of its texts escaped here and there, in any of the ways.
class Scrambler {
 public:
  explicit Scrambler(unsigned seed) : random_(seed) {}

  std::string text(const boost::json::value& value) {
    if (value.is_string()) return string(value.get_string());
    if (value.is_array()) {
      std::string made = "[";
      for (const auto& member : value.get_array())
        made += (made.size() > 1 ? "," : "") + text(member);
      return made + "]";
    }
    if (!value.is_object()) return jsonText(value);
    std::string made = "{";
    for (const auto& [key, member] : value.get_object())
      made += (made.size() > 1 ? "," : "") + string(key) + ":" + text(member);
    return made + "}";
  }

 private:
  std::string string(std::string_view content) {
    // An inner JSON text is written anew, so that its escapes are scrambled as well.
    boost::json::error_code problem;
    const auto inner = boost::json::parse({content.data(), content.size()}, problem);
    std::string again;
    if (!problem && !inner.is_number()) content = again = text(inner);
    const auto often = random_() % 4;
    std::string made = "\"";
    for (const auto c : content) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte < 0x20 || (byte < 0x80 && random_() % 8 < often)) {
        std::array<char, 8> escape{};
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the digits' case is what matters
        std::snprintf(escape.data(), escape.size(), random_() % 2 != 0 ? "\\u%04x" : "\\u%04X",
                      static_cast<unsigned>(byte));
        made += escape.data();
      } else {
        if (c == '"' || c == '\\') made += '\\';
        made += c;
      }
    }
    return made + "\"";
  }

  std::mt19937 random_;
};

/// Whether `value` may stand for `secret`.
bool isStandIn(const boost::json::value& value, const boost::json::value& secret) {
  if (secret.is_string() && !secret.get_string().empty())
    return value.is_string() && value.get_string().starts_with("***");
  if (secret.is_number()) return value.is_int64() && value.get_int64() / 1'000'000 == 1000;
  if (secret.is_array() && !secret.get_array().empty()) return value == boost::json::array{"***"};
  if (secret.is_object() && !secret.get_object().empty()) return value == object{{"***", "***"}};
  return value == secret;
}

/// How `value` differs from what it must be when the secrets of `original` are masked; nothing
/// when it does not. Texts are compared by the JSON in them.
std::string difference(const boost::json::value& original, const boost::json::value& value,
                       int depth = 0) {
  if (original == value && !original.is_structured() && !original.is_string()) return {};
  if (original.is_array() && value.is_array() &&
      original.get_array().size() == value.get_array().size()) {
    for (std::size_t i = 0; i < value.get_array().size(); ++i) {
      auto wrong = difference(original.get_array()[i], value.get_array()[i], depth);
      if (!wrong.empty()) return wrong;
    }
    return {};
  }
  if (original.is_object() && value.is_object()) {
    if (original.get_object().size() != value.get_object().size()) return "other members";
    for (const auto& [key, member] : original.get_object()) {
      const auto* now = value.get_object().if_contains(key);
      if (!now) return "no " + std::string(key);
      if (key != "userSig") {
        auto wrong = difference(member, *now, depth);
        if (!wrong.empty()) return wrong;
      } else if (!isStandIn(*now, member)) {
        return "a secret: " + jsonText(*now);
      }
    }
    return {};
  }
  if (original.is_string() && value.is_string()) {
    boost::json::error_code problem;
    const auto inner = boost::json::parse(original.get_string(), problem);
    if (problem || inner.is_number())
      return original == value ? "" : "another text: " + jsonText(value);
    const auto innerNow = boost::json::parse(value.get_string(), problem);
    if (problem) return "no JSON: " + jsonText(value);
    return difference(inner, innerNow, depth + 1);
  }
  return jsonText(original) + " became " + jsonText(value);
}

TEST(SecretMask, HoweverTheJsonIsEscapedOnlyItsSecretsChange) {
  unsigned hidden = 0;
  for (unsigned seed = 0; seed < 2000; ++seed) {
    const auto json = RandomJson(seed).value(6);
    const auto text = Scrambler(seed).text(json);
    const auto result = masked(text);
    ASSERT_EQ(difference(boost::json::parse(text), boost::json::parse(result)), "") << text << "\n"
                                                                                    << result;
    if (result != text) ++hidden;
  }
  EXPECT_GT(hidden, 400U);
}

/// The value with its secrets masked one by one, as the mask should do it in the text.
boost::json::value withoutSecrets(const boost::json::value& value) {
  if (value.is_object()) {
    object made;
    for (const auto& [key, member] : value.get_object()) {
      if (key == "userSig") {
        const auto line = boost::json::parse(masked(jsonText(object{{key, member}})));
        made[key] = line.at("userSig");
      } else {
        made[key] = withoutSecrets(member);
      }
    }
    return made;
  }
  if (value.is_array()) {
    boost::json::array made;
    for (const auto& member : value.get_array()) made.push_back(withoutSecrets(member));
    return made;
  }
  if (value.is_string()) {
    boost::json::error_code problem;
    const auto inner = boost::json::parse(value.get_string(), problem);
    if (!problem && jsonText(inner) == value.get_string())
      return boost::json::string(jsonText(withoutSecrets(inner)));
  }
  return value;
}

TEST(SecretMask, WhateverTheJsonOnlyItsSecretsChange) {
  int hidden = 0;
  for (unsigned seed = 0; seed < 3000; ++seed) {
    const auto json = RandomJson(seed).value(5);
    const auto text = jsonText(json);
    const auto result = masked(text);
    ASSERT_EQ(result.find("SECRET"), std::string::npos) << text << "\n" << result;
    ASSERT_EQ(result, jsonText(withoutSecrets(json))) << text;
    if (result != text) ++hidden;
  }
  EXPECT_GT(hidden, 500);
}

TEST(SecretMask, AnyBytesAreTaken) {
  std::mt19937 random(1);
  const std::string alphabet = "\"\\u0022ser:Sig{}[], \xff\n\"\\";
  for (int i = 0; i < 20'000; ++i) {
    std::string text;
    for (auto length = random() % 60; length > 0; --length)
      text += alphabet[random() % alphabet.size()];
    if (random() % 2 != 0) text.insert(random() % (text.size() + 1), "\"userSig\":\"");
    masked(text);
  }
}

// Would not end in time if the time grew faster than the text.
TEST(SecretMask, LongTextsOfTheWorstKindEnd) {
  const auto repeated = [](std::string_view piece) {
    std::string text;
    while (text.size() < 1'000'000) text += piece;
    return text;
  };
  for (const std::string_view piece :
       {"\"", "\\", "\\\"", "\"userSig\"", "\"userSig\" :", "\"userSig\":[", "\"userSig\":\"\"",
        "\"userSi", "\\u0022", "\\u0022userSig\\u0022:", "\"userSig\":\\", "\\\\\\\\\\\\\\\"userSi",
        "\\\\\\\\u0022\\\\\\\\u0075", "\"userSig\"                "})
    EXPECT_LT(masked(repeated(piece)).size(), 5'000'000U) << piece;
}

}  // namespace
}  // namespace vemo
