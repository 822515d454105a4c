#include "classroom/Permissions.h"

#include <glib.h>

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace vemo {
namespace {

struct KeyFileFree {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFree>;

const char* keyOf(MediaType media) { return media == MediaType::video ? "camera" : "microphone"; }

}  // namespace

Permissions::Permissions(std::string file) : file_(std::move(file)) {
  const KeyFile kept(g_key_file_new());
  if (file_.empty() ||
      !g_key_file_load_from_file(kept.get(), file_.c_str(), G_KEY_FILE_NONE, nullptr)) {
    return;
  }
  const std::unique_ptr<char*, decltype(&g_strfreev)> groups(
      g_key_file_get_groups(kept.get(), nullptr), g_strfreev);
  for (char** group = groups.get(); *group; ++group) {
    for (const auto media : {MediaType::video, MediaType::audio}) {
      GError* none = nullptr;
      const bool allowed = g_key_file_get_boolean(kept.get(), *group, keyOf(media), &none);
      if (none) {
        g_error_free(none);
      } else {
        decided_[*group][media] = {.allowed = allowed};
      }
    }
  }
}

AuthorizationStatus Permissions::of(const std::string& origin, MediaType media) const {
  const std::lock_guard lock(mutex_);
  const auto known = decided_.find(origin);
  if (known == decided_.end()) return AuthorizationStatus::notDetermined;
  const auto decided = known->second.find(media);
  if (decided == known->second.end()) return AuthorizationStatus::notDetermined;
  return decided->second.allowed ? AuthorizationStatus::authorized : AuthorizationStatus::denied;
}

std::string Permissions::decide(const std::string& origin, MediaType media, bool allowed) {
  const std::lock_guard lock(mutex_);
  decided_[origin][media] = {.allowed = allowed};
  return file_.empty() ? "" : save();
}

void Permissions::decideForNow(const std::string& origin, MediaType media, bool allowed) {
  const std::lock_guard lock(mutex_);
  decided_[origin][media] = {.allowed = allowed, .isKept = false};
}

std::string Permissions::save() const {
  const KeyFile kept(g_key_file_new());
  for (const auto& [origin, decisions] : decided_) {
    for (const auto& [media, decision] : decisions) {
      if (!decision.isKept) continue;
      g_key_file_set_boolean(kept.get(), origin.c_str(), keyOf(media), decision.allowed);
    }
  }
  std::error_code problem;
  std::filesystem::create_directories(std::filesystem::path(file_).parent_path(), problem);
  GError* error = nullptr;
  if (g_key_file_save_to_file(kept.get(), file_.c_str(), &error)) return {};
  std::string why = error->message;
  g_error_free(error);
  return why;
}

}  // namespace vemo
