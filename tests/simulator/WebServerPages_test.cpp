#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <atomic>
#include <boost/asio/read_until.hpp>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "WebServerTest.h"

// Pages that are connected, and the frames between them and their listeners.

namespace vemo::test {
namespace {

TEST_F(WebServerTest, LetsOnlyItsOwnPagesConnect) {
  const auto port = host_.substr(host_.find(':'));
  EXPECT_EQ(page("http://evil.example").second, http::status::forbidden);
  EXPECT_EQ(page("https://" + host_).second, http::status::forbidden);
  EXPECT_EQ(page("null").second, http::status::forbidden);
  EXPECT_EQ(page("").second, http::status::forbidden);
  EXPECT_EQ(page("http://evil.example" + port, "evil.example" + port).second,
            http::status::forbidden);
  EXPECT_TRUE(page("http://" + host_).first);
  EXPECT_TRUE(page("http://localhost" + port, "localhost" + port).first);
}

// Another user of the machine has a browser, or a program that sends any Host and Origin, too.
TEST_F(WebServerTest, LetsOnlyThoseConnectWhoWereToldTheToken) {
  const std::string token = kToken;
  auto otherEnd = token;
  otherEnd.back() ^= 1;
  for (const auto& target :
       {std::string("/phone"), std::string("/phone?"), phoneTarget(""), phoneTarget(otherEnd),
        phoneTarget(token.substr(1)), phoneTarget(token + "0"),
        phoneTarget(token) + "&token=", "/phone?Token=" + token, "/phone?a=b&token=" + token,
        "/phone/?token=" + token, phoneTarget("0123456789ABCDEF0123456789ABCDEF")}) {
    EXPECT_NE(page("http://" + host_, "", target).second, http::status::switching_protocols)
        << target;
  }
  EXPECT_EQ(page("http://" + host_, "", "/phone").second, http::status::forbidden);
  EXPECT_EQ(page("http://evil.example", "", phoneTarget()).second, http::status::forbidden);
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  EXPECT_EQ(events_.wait(1).size(), 1U) << "nobody else has come";
}

TEST_F(WebServerTest, WithoutATokenNobodyConnects) {
  WebServerOptions options;
  options.shellFolder = folder_.file("shell");
  server_->stop();
  thread_.join();
  start(options);
  EXPECT_EQ(page("http://" + host_, "", phoneTarget("")).second, http::status::forbidden);
  EXPECT_EQ(page("http://" + host_, "", "/phone").second, http::status::forbidden);
}

// So that whoever is shut out can be told why: a browser does not say why a WebSocket did not open.
TEST_F(WebServerTest, SaysWhetherATokenIsItsOwn) {
  const auto refused = get("/phone");
  EXPECT_EQ(refused.result(), http::status::forbidden);
  EXPECT_EQ(refused.body(), "The address has not the token that the simulator printed.\n");
  EXPECT_EQ(get(phoneTarget("0")).result(), http::status::forbidden);
  EXPECT_EQ(get(phoneTarget()).result(), http::status::upgrade_required);
}

TEST_F(WebServerTest, RefusesAPageOfTwoOrigins) {
  for (const auto* second : {"http://elsewhere.example", "http://127.0.0.1:1"}) {
    const auto answer = answerTo(
        "GET " + phoneTarget() + " HTTP/1.1\r\nHost: " + host_ + "\r\nOrigin: http://" + host_ +
        "\r\nOrigin: " + second +
        "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n");
    EXPECT_EQ(answer.result(), http::status::forbidden) << second;
  }
}

TEST_F(WebServerTest, CarriesFramesInOrder) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  for (const auto* text : {"one", "two", "three"}) mine->write(asio::buffer(std::string(text)));
  EXPECT_EQ(read(*mine), "one");
  EXPECT_EQ(read(*mine), "two");
  EXPECT_EQ(read(*mine), "three");
}

TEST_F(WebServerTest, AListenerGoesWithItsPage) {
  auto mine = ownPage();
  ASSERT_TRUE(mine);
  EXPECT_EQ(events_.wait(1).back(), "came");
  mine->close(websocket::close_code::normal);
  EXPECT_EQ(events_.wait(2).back(), "left");

  auto torn = ownPage();
  events_.wait(3);
  torn->next_layer().close();
  EXPECT_EQ(events_.wait(4).back(), "left");
}

TEST_F(WebServerTest, IgnoresBinaryFramesAndEndsOnTooLongOnes) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  mine->binary(true);
  mine->write(asio::buffer(std::string("bits")));
  mine->text(true);
  mine->write(asio::buffer(std::string("still here")));
  EXPECT_EQ(read(*mine), "still here");
  EXPECT_EQ(troubles_.wait(1).back(), "sent a binary frame; ignored");

  beast::error_code problem;
  mine->write(asio::buffer(std::string(60'000, 'x')), problem);
  EXPECT_EQ(events_.wait(2).back(), "left");
  EXPECT_EQ(troubles_.wait(2).back(), "was dropped: it sent a frame that is too long");
}

TEST_F(WebServerTest, EndsOnBrokenText) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  beast::error_code problem;
  mine->write(asio::buffer(std::string("\xff\xfe")), problem);
  beast::flat_buffer buffer;
  mine->read(buffer, problem);
  EXPECT_EQ(problem, websocket::error::closed);
  EXPECT_EQ(mine->reason().code, websocket::close_code::bad_payload);
  EXPECT_EQ(events_.wait(2).back(), "left");
}

TEST_F(WebServerTest, DropsAPageThatDoesNotRead) {
  const auto slow = ownPage();
  ASSERT_TRUE(slow);
  slow->write(asio::buffer(std::string("flood")));
  EXPECT_EQ(troubles_.wait(1).back(), "was dropped: it doesn't read what it is sent");
  EXPECT_EQ(events_.wait(2).back(), "left");

  const auto other = ownPage();
  other->write(asio::buffer(std::string("hello")));
  EXPECT_EQ(read(*other), "hello");
}

TEST_F(WebServerTest, OfWhatComesAgainASlowPageGetsTheLatest) {
  const auto slow = ownPage();
  ASSERT_TRUE(slow);
  slow->write(asio::buffer(std::string("latest a:1")));
  slow->write(asio::buffer(std::string("latest a:2")));
  EXPECT_EQ(read(*slow), "latest a:1") << "it is not slow yet";
  EXPECT_EQ(read(*slow), "latest a:2");
  events_.wait(3);

  slow->write(asio::buffer(std::string("much")));
  for (const auto* text : {"latest a:3", "latest b:1", "one", "latest a:4", "two", "latest a:5"})
    slow->write(asio::buffer(std::string(text)));
  events_.wait(7);  // all that is sent waits behind what is not read
  for (int i = 0; i < 1900; ++i) ASSERT_EQ(read(*slow).size(), 10'000U);
  for (const auto* text : {"latest b:1", "one", "two", "latest a:5"}) EXPECT_EQ(read(*slow), text);
  slow->write(asio::buffer(std::string("latest a:6")));
  EXPECT_EQ(read(*slow), "latest a:6");
}

TEST_F(WebServerTest, HearsFramesThatCameWithTheHandshake) {
  auto socket = connected();
  const std::string request = "GET " + phoneTarget() + " HTTP/1.1\r\nHost: " + host_ +
                              "\r\nOrigin: http://" + host_ +
                              "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
                              "Sec-WebSocket-Version: 13\r\n"
                              "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n";
  const std::string mask(4, '\0');
  const auto frame = [&](const std::string& text) {
    return "\x81" + std::string(1, static_cast<char>(0x80U | text.size())) + mask + text;
  };
  const auto second = frame("second");
  asio::write(socket, asio::buffer(request + frame("first") + second.substr(0, 3)));
  asio::write(socket, asio::buffer(second.substr(3) + frame("third")));
  std::string answer;
  asio::read_until(socket, asio::dynamic_buffer(answer), "\x81\x05third");
  EXPECT_EQ(answer.substr(answer.find("\r\n\r\n") + 4),
            "\x81\x05"
            "first\x81\x06second\x81\x05third");
}

TEST_F(WebServerTest, APageThatFloodsItDoesNotHoldUpTheOthers) {
  const auto flooding = ownPage();
  const auto mine = ownPage();
  ASSERT_TRUE(flooding && mine);
  std::atomic<bool> enough = false;
  std::atomic<std::size_t> sent = 0;
  std::thread flood([&] {
    beast::error_code problem;
    while (!enough && !problem) {
      flooding->write(asio::buffer("hush", 4), problem);
      ++sent;
    }
    EXPECT_FALSE(problem) << problem.message();
  });
  while (sent < 1000) std::this_thread::yield();
  for (int round = 0; round < 50; ++round) {
    mine->write(asio::buffer(std::to_string(round)));
    EXPECT_EQ(read(*mine), std::to_string(round));
  }
  enough = true;
  flood.join();
}

class StrictWebServerTest : public WebServerTest {
 protected:
  static constexpr int kFrames = 20;

  StrictWebServerTest() : WebServerTest(kNever, {kFrames * WebServerOptions::kFrameBytes, 0}) {}
};

TEST_F(StrictWebServerTest, APageThatSendsTooMuchIsCutOffAndToldSo) {
  for (const auto& [frame, taken] :
       {std::pair(std::string(), kFrames),
        {std::string(WebServerOptions::kFrameBytes, 'x'), kFrames / 2}}) {
    const auto flooding = ownPage();
    ASSERT_TRUE(flooding);
    for (int i = 0; i < taken; ++i) {
      flooding->write(asio::buffer(frame));
      EXPECT_EQ(read(*flooding), frame);
    }
    flooding->write(asio::buffer(frame));
    beast::flat_buffer buffer;
    beast::error_code problem;
    flooding->read(buffer, problem);
    EXPECT_EQ(problem, websocket::error::closed);
    EXPECT_EQ(flooding->reason().code, websocket::close_code::policy_error);
    EXPECT_EQ(flooding->reason().reason, "it sent more than a page may");
  }
  EXPECT_EQ(troubles_.wait(2).back(), "was cut off: it sent more than a page may");
  EXPECT_EQ(events_.wait(4).back(), "left");
}

/// A frame of a page: what it is, with bit 7 set when it ends a message, and its text.
std::string frameOf(unsigned char what, const std::string& text = {}) {
  const std::string mask(4, '\0');
  return std::string{static_cast<char>(what), static_cast<char>(0x80U | text.size())} + mask + text;
}
constexpr unsigned char kPing = 0x89;
constexpr unsigned char kPong = 0x8a;
constexpr unsigned char kBegins = 0x01;
constexpr unsigned char kGoesOn = 0x00;
constexpr unsigned char kEnds = 0x80;

// Nobody is told of such frames, but they cost as others do.
TEST_F(StrictWebServerTest, FramesThatAreNoMessagesAreLimitedToo) {
  const auto mine = ownPage();
  std::size_t cutOff = 0;
  for (const auto& [begin, frame] : {std::pair(std::string(), frameOf(kPing)),
                                     {std::string(), frameOf(kPong, std::string(125, 'p'))},
                                     {frameOf(kBegins, "h"), frameOf(kGoesOn)}}) {
    const auto flooding = ownPage();
    ASSERT_TRUE(mine && flooding);
    beast::error_code gone;
    asio::write(flooding->next_layer(), asio::buffer(begin), gone);
    for (std::size_t sent = 0; sent < 1'000'000 && !gone; sent += frame.size())
      asio::write(flooding->next_layer(), asio::buffer(frame), gone);
    const auto troubles = troubles_.wait(++cutOff);
    ASSERT_EQ(troubles.size(), cutOff);
    EXPECT_EQ(troubles.back(), "was cut off: it sent more than a page may");
    beast::flat_buffer buffer;
    flooding->read(buffer, gone);
    EXPECT_EQ(gone, websocket::error::closed);
    EXPECT_EQ(flooding->reason().code, websocket::close_code::policy_error);
    EXPECT_EQ(flooding->reason().reason, "it sent more than a page may");
  }
  mine->write(asio::buffer(std::string("still here")));
  EXPECT_EQ(read(*mine), "still here");
}

TEST_F(StrictWebServerTest, AMessageOfManyPartsCountsAsManyFrames) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  auto parts = frameOf(kBegins, "in ");
  for (int i = 0; i < 300; ++i) parts += frameOf(kGoesOn);
  asio::write(mine->next_layer(), asio::buffer(parts + frameOf(kEnds, "parts")));
  EXPECT_EQ(read(*mine), "in parts");
  mine->write(asio::buffer(std::string("one more")));
  EXPECT_EQ(troubles_.wait(1).back(), "was cut off: it sent more than a page may");
}

TEST_F(StrictWebServerTest, APageThatFloodsAndDoesNotReadIsCutOffAndTheOthersGoOn) {
  const auto mine = ownPage();
  const auto flooding = ownPage();
  ASSERT_TRUE(mine && flooding);
  flooding->write(asio::buffer(std::string("flood")));  // answers that nobody reads
  beast::error_code gone;
  for (int i = 0; i < 10 * kFrames && !gone; ++i) flooding->write(asio::buffer("hush", 4), gone);
  EXPECT_TRUE(troubles_.wait(1).back().starts_with("was "));
  EXPECT_EQ(events_.wait(3).back(), "left");
  mine->write(asio::buffer(std::string("still here")));
  EXPECT_EQ(read(*mine), "still here");
}

TEST_F(WebServerTest, TakesOnlySoManyPages) {
  std::vector<std::unique_ptr<Page>> pages;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(pages.emplace_back(ownPage()));
  events_.wait(3);
  http::request<http::empty_body> request(http::verb::get, phoneTarget(), 11);
  request.set(http::field::host, host_);
  request.set(http::field::origin, "http://" + host_);
  request.set(http::field::connection, "Upgrade");
  request.set(http::field::upgrade, "websocket");
  request.set(http::field::sec_websocket_version, "13");
  request.set(http::field::sec_websocket_key, "AAAAAAAAAAAAAAAAAAAAAA==");
  auto socket = connected();
  http::write(socket, request);
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(socket, buffer, response);
  EXPECT_EQ(response.result(), http::status::service_unavailable);
  EXPECT_EQ(response.body(), "There are as many pages as this server takes; close one first.\n");
  EXPECT_EQ(get("/").result(), http::status::ok);
  EXPECT_EQ(get(phoneTarget()).body(), response.body());  // for whom the WebSocket tells nothing

  pages.back()->close(websocket::close_code::normal);
  EXPECT_EQ(events_.wait(4).back(), "left");
  EXPECT_TRUE(ownPage());
}

/// The socket of this process that is connected to `other`, or -1.
int peerOf(tcp::socket& other) {
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
        ntohs(peer.sin_port) == other.local_endpoint().port())
      return descriptor;
  }
  return -1;
}

TEST_F(WebServerTest, AFrameWaitsForNoAcknowledgementOfTheOneBefore) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  int noDelay = 0;
  socklen_t size = sizeof noDelay;
  getsockopt(peerOf(mine->next_layer()), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
  EXPECT_NE(noDelay, 0);
}

TEST_F(WebServerTest, SaysGoodbyeWhenItStops) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  events_.wait(1);  // the server knows too that it is connected
  server_->stop();
  beast::flat_buffer buffer;
  beast::error_code problem;
  mine->read(buffer, problem);
  EXPECT_EQ(problem, websocket::error::closed);
  EXPECT_EQ(mine->reason().code, websocket::close_code::going_away);
  EXPECT_EQ(events_.wait(2).back(), "left");
}

}  // namespace
}  // namespace vemo::test
