#include "engine/HostLookup.h"

#include <gio/gio.h>

#include <algorithm>
#include <utility>

#include "engine/Gst.h"

namespace vemo::janus {
namespace {

struct Lookup {
  HostFound found;
  GstRef<GCancellable> cancellable{g_cancellable_new()};
};

std::vector<std::string> firstOfEachKind(GList* found) {
  std::vector<std::string> addresses;
  for (const auto family : {G_SOCKET_FAMILY_IPV4, G_SOCKET_FAMILY_IPV6}) {
    for (const auto* entry = found; entry; entry = entry->next) {
      auto* address = G_INET_ADDRESS(entry->data);
      if (g_inet_address_get_family(address) != family) continue;
      addresses.emplace_back(GText(g_inet_address_to_string(address)).get());
      break;
    }
  }
  return addresses;
}

}  // namespace

std::shared_ptr<void> lookUpHost(const std::string& host, HostFound found) {
  using Weak = std::weak_ptr<Lookup>;
  std::shared_ptr<Lookup> lookup(new Lookup{std::move(found)}, [](Lookup* ended) {
    g_cancellable_cancel(ended->cancellable.get());
    delete ended;
  });
  const GstRef<GResolver> resolver(g_resolver_get_default());
  g_resolver_lookup_by_name_async(
      resolver.get(), host.c_str(), lookup->cancellable.get(),
      [](GObject* from, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Weak> weak(static_cast<Weak*>(data));
        GError* error = nullptr;
        GList* list = g_resolver_lookup_by_name_finish(G_RESOLVER(from), result, &error);
        const auto addresses = firstOfEachKind(list);
        const std::string why = error ? error->message : "";
        g_resolver_free_addresses(list);
        g_clear_error(&error);
        if (const auto self = weak->lock()) self->found(addresses, why);
      },
      new Weak(lookup));
  return lookup;
}

}  // namespace vemo::janus
