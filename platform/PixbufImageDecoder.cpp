#include "platform/PixbufImageDecoder.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>

#include "platform/ImageFile.h"
#include "platform/Turns.h"

namespace vemo {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// Holds the loader to the size that was read before, should it read another.
void checkSize(GdkPixbufLoader* loader, gint width, gint height, gpointer tooLarge) {
  const auto pixels =
      static_cast<std::size_t>(std::max(width, 0)) * static_cast<std::size_t>(std::max(height, 0));
  if (pixels <= PixbufImageDecoder::kMaxPixels) return;
  *static_cast<bool*>(tooLarge) = true;
  gdk_pixbuf_loader_set_size(loader, 0, 0);
}

/// What a file that is cut short leaves out must not show what the memory held before.
void blank(GdkPixbufLoader* loader, gpointer) {
  gdk_pixbuf_fill(gdk_pixbuf_loader_get_pixbuf(loader), 0);
}

std::shared_ptr<VEMOImage> imageOf(const GdkPixbuf* pixbuf) {
  const auto width = static_cast<std::size_t>(gdk_pixbuf_get_width(pixbuf));
  const auto height = static_cast<std::size_t>(gdk_pixbuf_get_height(pixbuf));
  const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf));
  const auto channels = static_cast<std::size_t>(gdk_pixbuf_get_n_channels(pixbuf));
  const auto* row = gdk_pixbuf_read_pixels(pixbuf);
  std::vector<std::uint8_t> rgba(width * height * 4, 0xFF);
  auto* to = rgba.data();
  for (std::size_t y = 0; y < height; ++y, row += stride) {
    for (const auto* from = row; from < row + width * channels; from += channels, to += 4) {
      std::copy_n(from, channels, to);  // 3, or 4 with alpha
    }
  }
  return std::make_shared<DecodedImage>(width, height, std::move(rgba));
}

bool write(GdkPixbufLoader* loader, std::string_view bytes) {
  // With each block that it reads, the loader of GIFs moves all that it was given beyond it:
  // given a whole file of small blocks, for hours.
  constexpr std::size_t kPieceBytes = 4096;
  bool good = true;
  while (good && !bytes.empty()) {
    const auto piece = bytes.substr(0, kPieceBytes);
    good = gdk_pixbuf_loader_write(loader, reinterpret_cast<const guchar*>(piece.data()),
                                   piece.size(), nullptr) != 0;
    bytes.remove_prefix(piece.size());
  }
  return good;
}

std::shared_ptr<VEMOImage> imageOf(const ImageFile& file) {
  const std::unique_ptr<GdkPixbufLoader, Unref> loader(
      gdk_pixbuf_loader_new_with_type(file.type, nullptr));
  if (!loader) return nullptr;
  bool tooLarge = false;
  g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(checkSize), &tooLarge);
  g_signal_connect(loader.get(), "area-prepared", G_CALLBACK(blank), nullptr);
  const bool written = write(loader.get(), file.bytes);
  const bool whole = gdk_pixbuf_loader_close(loader.get(), nullptr) != 0;  // always closed
  if (!written || !whole || tooLarge) return nullptr;
  const auto* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
  return pixbuf ? imageOf(pixbuf) : nullptr;
}

std::shared_ptr<VEMOImage> imageOf(const std::string& bytes) {
  const auto file = firstPicture(bytes);
  if (!file || file->pixels > PixbufImageDecoder::kMaxPixels ||
      file->pixels * file->passes > PixbufImageDecoder::kMaxPasses) {
    return nullptr;
  }
  return imageOf(*file);
}

}  // namespace

class PixbufImageDecoder::Worker {
 public:
  struct Job {
    std::string bytes;
    Done done;
  };
  using RequesterId = Turns<Job>::Requester;

  /// The thread is let go at once, so that nobody waits for an image that is being decoded.
  static void start(const std::shared_ptr<Worker>& self) {
    std::thread thread([self] { self->run(); });
    self->thread_ = thread.get_id();
    thread.detach();
  }

  RequesterId newRequester() {
    const std::lock_guard lock(mutex_);
    return ++lastRequester_;
  }

  void add(RequesterId requester, Job job) {
    const std::lock_guard lock(mutex_);
    if (stopping_) return;
    auto waitingBytes = job.bytes.size();
    for (const auto& waiting : turns_.of(requester)) waitingBytes += waiting.bytes.size();
    if (waitingBytes > kMaxWaitingBytes) job.bytes = {};
    turns_.add(requester, std::move(job));
    changed_.notify_all();
  }

  void end(RequesterId requester) {
    std::deque<Job> dropped;  // without the lock
    Done droppedToo;
    std::unique_lock lock(mutex_);
    dropped = turns_.drop(requester);
    if (current_ != requester) return;
    droppedToo = std::exchange(done_, nullptr);
    if (std::this_thread::get_id() == thread_) return;
    changed_.wait(lock, [&] { return !calling_ || current_ != requester; });
  }

  void stop() {
    std::vector<Job> dropped;
    Done droppedToo;
    std::unique_lock lock(mutex_);
    stopping_ = true;
    while (auto turn = turns_.take()) dropped.push_back(std::move(turn->work));
    droppedToo = std::exchange(done_, nullptr);
    changed_.notify_all();
    if (std::this_thread::get_id() == thread_) return;
    changed_.wait(lock, [&] { return !calling_; });
  }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [&] { return stopping_ || !turns_.empty(); });
      if (stopping_) return;
      auto turn = turns_.take();
      current_ = turn->requester;
      done_ = std::move(turn->work.done);  // here it can be dropped meanwhile
      lock.unlock();
      auto image = imageOf(turn->work.bytes);
      turn.reset();
      lock.lock();
      auto done = std::exchange(done_, nullptr);
      if (!done) continue;
      calling_ = true;
      lock.unlock();
      done(std::move(image));
      done = nullptr;  // it may hold what is waited for
      lock.lock();
      calling_ = false;
      changed_.notify_all();
    }
  }

  std::thread::id thread_;
  std::mutex mutex_;
  std::condition_variable changed_;
  Turns<Job> turns_;
  RequesterId lastRequester_ = 0;
  RequesterId current_ = 0;  // whose image is being decoded, or was last
  Done done_;
  bool calling_ = false;
  bool stopping_ = false;
};

class PixbufImageDecoder::Requester final : public ImageDecoder {
 public:
  explicit Requester(std::shared_ptr<Worker> worker)
      : worker_(std::move(worker)), id_(worker_->newRequester()) {}
  ~Requester() override { worker_->end(id_); }
  Requester(const Requester&) = delete;
  Requester& operator=(const Requester&) = delete;

  void decode(std::string bytes, Done done) override {
    worker_->add(id_, {std::move(bytes), std::move(done)});
  }

 private:
  const std::shared_ptr<Worker> worker_;
  const Worker::RequesterId id_;
};

PixbufImageDecoder::PixbufImageDecoder()
    : worker_(std::make_shared<Worker>()), self_(forRequester()) {
  Worker::start(worker_);
}

PixbufImageDecoder::~PixbufImageDecoder() { worker_->stop(); }

std::unique_ptr<ImageDecoder> PixbufImageDecoder::forRequester() {
  return std::make_unique<Requester>(worker_);
}

void PixbufImageDecoder::decode(std::string bytes, Done done) {
  self_->decode(std::move(bytes), std::move(done));
}

}  // namespace vemo
