#include "panel/server/serve_command.h"

#include "cli/client/host.h"
#include "panel/server/server.h"
#include "platform/browser.h"

namespace orv::panel {
namespace {

constexpr cli::CommandText kServeText = {
    "serve", "Show this machine live in a browser", "orvctl serve\n  orvctl serve --read-only",
    "Prints one address, which holds a key: every program that has it may use the machine. The "
    "service answers this computer only, unless --address names another of its addresses. "
    "docs/serve.md describes its requests, for scripts. Ends with Ctrl+C.",
    "one line, {address, read_only}"};

struct ServeArguments {
  std::string address = "127.0.0.1";
  std::int32_t port = 0;
  bool open = false;
  bool read_only = false;
};

void Serve(cli::Context& context, const ServeArguments& arguments) {
  Event stop(Event::Kind::ManualReset);
  const cli::StopOnSignal signals(stop, cli::StopOnSignal::Ordinary::InterruptOrTermination);
  const Server server(context, {.address = arguments.address,
                                .port = static_cast<std::uint16_t>(arguments.port),
                                .read_only = arguments.read_only,
                                .key = {},
                                .limits = {}});
  cli::Output& output = context.output;
  if (output.json()) {
    output.JsonLine({{"address", server.Address()}, {"read_only", arguments.read_only}});
  } else {
    output.Line(server.Address());
  }
  output.Notice("Open this address in a browser; Ctrl+C ends the service.");
  if (server.is_public())
    output.Notice(
        "Other computers reach it. Nothing is encrypted: the network's traffic shows the key and "
        "all "
        "values.");
  if (arguments.open && !OpenInBrowser(server.Address()))
    output.Notice("No browser could be started.");
  stop.Wait();
}

}  // namespace

void AddServeCommand(CLI::App& app, cli::Context& context) {
  auto [serve, arguments] = cli::AddCommand(app, context, Serve, kServeText);
  serve.add_option("--port", arguments.port, "The port (default: one that is free)")
      ->check(cli::WholeNumberWithin(0, 65535, "PORT"));
  serve
      .add_option("--address", arguments.address,
                  "A numeric address of this computer (default: 127.0.0.1, this computer only)")
      ->type_name("ADDRESS");
  serve.add_flag("--open", arguments.open, "Open the address in the browser");
  serve.add_flag("--read-only", arguments.read_only, "Refuse every change");
}

}  // namespace orv::panel
