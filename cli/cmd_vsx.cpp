// kurvalux-cli vsx: looks the field's stars (or one object) up in the VSX catalogue, prints
// the boxes of the look-up on standard output, and with --save keeps what was matched.
#include <cstdio>

#include "cli/cli.h"
#include "cli/stdout_boxes.h"
#include "data/settings.h"
#include "platform/waiting_poster.h"
#include "web/vsx_lookup.h"

namespace kurvalux_cli {
namespace {

int Vsx(const Args& args) {
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* only = nullptr;
    if (args.Has("object") && !(only = FindObjectArgument(args, field))) return 1;

    kurvalux_data::Settings settings;
    kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
    kurvalux_platform::CWaitingPoster poster;
    CStdoutBoxes boxes;
    kurvalux_web::CVsxLookup lookup(&poster, boxes);
    lookup.SetServer(args.Has("host") ? args.Get("host") : settings.vsx_server);
    lookup.SetTimeouts(settings.web_connect_timeout, settings.web_transfer_timeout);
    if (!lookup.Start(field, only)) return 1;
    for (;;) {
        // The worker always ends: its time-outs bound the exchange.
        auto message = poster.Take(1000);
        if (!message || message->number != kurvalux_platform::kMsgCatalogueDone) continue;
        const size_t matched = lookup.Complete(int(message->a), field, only);
        if (boxes.failures) return 1;
        if (matched > 0 && args.Flag("save") && !SaveFieldArgument(args, field)) return 1;
        return 0;
    }
}

const CommandRegistrar kVsx(
    "vsx",
    "Looks the field's stars up in the VSX catalogue and fills in missing names, types, "
    "periods and epochs.",
    Vsx,
    {FieldArgument(),
     Text("object", "NAME", "only this object (default: every object of the field)"),
     Text("host", "URL", "the catalogue's server (default: the settings' VSXServer)"),
     Flag("save", "save the field when objects were matched"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
