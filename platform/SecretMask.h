#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vemo {

/// Takes secrets out of text that is JSON or holds some: the values of certain keys are
/// replaced by a stand-in, and all else stays as it is, byte for byte.
///
/// The stand-in is `***` and eight hexadecimal digits: a hash of the value under a key
/// that this process drew by lot. Within one process the same value has the same one,
/// so that lines can be told to speak of the same secret; the value can't be got back.
/// A value that the text breaks off in has `***` alone, and so has what comes after the first
/// thousand of one text. An empty text stays: it shows
/// that there was none.
///
/// Who reads the text does as before: the stand-in of a number, and of a text that is one, is
/// 1000 and six digits; that of an object or an array is one that holds `***` alone. What hides
/// nothing stays: an empty one, null, true and false.
///
/// Found are keys at any depth of objects and arrays, in JSON amid other text, in JSON
/// text inside the strings of JSON text, in whichever way quotes and backslashes are
/// escaped there, with blanks around the colon and escapes in the key. Not found is what is no
/// JSON: `userSig=abc`, or a key without quotes.
///
/// What is more than eight strings deep is not looked through: of such a string, all from
/// the first escape on is replaced by `***`, if there may be a key in the text at all.
///
/// Never throws but for want of memory; takes time in proportion to the text's length.
/// Threads: any.
class SecretMask {
 public:
  /// Masks the values of `keys`, which are compared as a whole and exactly.
  explicit SecretMask(std::vector<std::string> keys = {"userSig"});

  /// `text` with its secrets masked: `text` itself when there are none, else a view of
  /// `buffer`, which then holds the result.
  std::string_view masked(std::string_view text, std::string& buffer) const;

 private:
  bool isClean(std::string_view text) const;

  std::vector<std::string> keys_;
};

}  // namespace vemo
