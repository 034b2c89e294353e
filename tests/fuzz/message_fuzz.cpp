// Sends whatever libFuzzer comes up with through a channel, and reads what arrives as the host and
// the engine process do; see scripts/fuzz.sh.
#include <sys/socket.h>
#include <unistd.h>

#include "channel/Channel.h"
#include "channel/Operations.h"

namespace {

struct NoObjects : LARKA::Objects {
  qint64 idOf(const LARKA::LarkaHTMLControl&) override { return 0; }
  qint64 idOf(const LARKA::LarkaPluginWidget&) override { return 0; }
  LARKA::LarkaHTMLControl controlOf(qint64) override { return {}; }
  LARKA::LarkaPluginWidget pluginOf(qint64) override { return {}; }
};

/// Reads the arguments of an operation, and as its result what is there.
template <typename List>
void read(const LARKA::Message& message) {
  List::with(message.operation, [&](auto operation) {
    using Call = LARKA::CallTo<decltype(operation)::value>;
    NoObjects objects;
    QByteArray written;
    LARKA::Coder in(objects, message.content), out(objects, &written);
    Call::serve(in, out, [](auto&&...) { return std::decay_t<typename Call::Result>(); });
    if constexpr (!std::is_void_v<typename Call::Result>) {
      std::decay_t<typename Call::Result> result{};
      LARKA::Coder(objects, message.content).get(result);
      if constexpr (std::is_same_v<typename Call::Result, std::vector<LARKA::LarkaHTMLControl*>>)
        for (LARKA::LarkaHTMLControl* control : result) delete control;
    }
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) != 0) abort();
  LARKA::Channel channel(ends[0]);
  if (write(ends[1], data, size) != static_cast<ssize_t>(size)) abort();
  close(ends[1]);
  for (channel.exchange(); channel.hasMessage();) {
    const LARKA::Message message = channel.take();
    read<LARKA::HostOperations>(message);
    read<LARKA::EngineOperations>(message);
  }
  return 0;
}
