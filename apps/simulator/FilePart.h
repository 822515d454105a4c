#pragma once

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/file.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/optional.hpp>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vemo {

/// The body of a response that is read from a file while it is sent: `length` bytes from where the
/// file stands. http::file_body always sends a file to its end.
struct FilePart {
  struct value_type {
    boost::beast::file file;
    std::uint64_t length = 0;
  };

  static std::uint64_t size(const value_type& part) { return part.length; }

  class writer {
   public:
    using const_buffers_type = boost::asio::const_buffer;

    template <bool isRequest, class Fields>
    writer(const boost::beast::http::header<isRequest, Fields>& /*header*/, value_type& part)
        : file_(part.file), left_(part.length) {}

    void init(boost::beast::error_code& problem) { problem = {}; }

    boost::optional<std::pair<const_buffers_type, bool>> get(boost::beast::error_code& problem) {
      problem = {};
      if (left_ == 0) return boost::none;
      const auto most = static_cast<std::size_t>(std::min<std::uint64_t>(left_, bytes_.size()));
      const auto count = file_.read(bytes_.data(), most, problem);
      if (!problem && count == 0) problem = boost::beast::http::error::short_read;
      if (problem) return boost::none;
      left_ -= count;
      return std::pair(const_buffers_type(bytes_.data(), count), left_ > 0);
    }

   private:
    boost::beast::file& file_;
    std::uint64_t left_;
    std::array<char, 4096> bytes_{};
  };
};

}  // namespace vemo
