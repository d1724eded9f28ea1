#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "orv_apo/com_ptr.h"
#include "system.h"

HRESULT CreateSystem(bool, IORVAPOSystem** system) {
  void* component = dlopen(ORV_COMPONENT, RTLD_NOW);
  if (component == nullptr) return E_FAIL;
  const auto get_class =
      reinterpret_cast<ORVDllGetClassObject>(dlsym(component, "DllGetClassObject"));
  if (get_class == nullptr) return E_FAIL;
  orv_apo::ComPtr<IClassFactory> factory;
  const HRESULT status = get_class(CLSID_ORVAPOSystem, IID_PPV_ARGS(factory.Put()));
  return FAILED(status) ? status : factory->CreateInstance(nullptr, IID_PPV_ARGS(system));
}

namespace {

// The simulated machine's registry is one file, which each change replaces.
class RegistryFileWatch final : public KeyWatch {
 public:
  explicit RegistryFileWatch(int events) : events_(events) {}
  ~RegistryFileWatch() override { close(events_); }

  void Arm() override {
    while (ReadEvents() > 0) continue;
  }
  void Wait() override {
    for (changed_ = false; !changed_; ReadEvents()) {
      pollfd waiting = {events_, POLLIN, 0};
      poll(&waiting, 1, -1);
    }
  }

 private:
  ssize_t ReadEvents() {
    alignas(inotify_event) char buffer[4096];
    const ssize_t size = read(events_, buffer, sizeof buffer);
    for (ssize_t at = 0; at < size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
      if (event->len != 0 && std::string_view(event->name) == "registry.reg") changed_ = true;
      at += static_cast<ssize_t>(sizeof *event + event->len);
    }
    return size;
  }

  const int events_;
  bool changed_ = false;
};

}  // namespace

std::unique_ptr<KeyWatch> WatchKey(const wchar_t*) {
  const char* machine = std::getenv("ORV_MACHINE");
  const int events = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (machine == nullptr || events < 0) return nullptr;
  inotify_add_watch(events, machine, IN_MOVED_TO | IN_CLOSE_WRITE);
  return std::make_unique<RegistryFileWatch>(events);
}
