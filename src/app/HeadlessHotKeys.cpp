// The headless runtime's hot keys: a foot switch or a key combination steers
// it from whatever program has the focus, on any X display, headless or not.

#include "app/HeadlessRuntime.h"

namespace app {

namespace {

// "the hot key F9" / "the hot keys F9, F10".
std::string HotKeyList(const std::vector<std::string>& names) {
    std::string list = names.size() == 1 ? "the hot key " : "the hot keys ";
    for (std::size_t i = 0; i < names.size(); ++i)
        list += (i ? ", " : "") + names[i];
    return list;
}

} // namespace

void HeadlessRuntime::StartHotKeys() {
    if (control::HotKeyTable(cfg_).empty())
        return;
    if (!hotKeys_) {
        if (noHotKeyDisplay_)
            return;
        // A connection of their own: the keystroke sender's exists only in
        // Send Keystrokes mode, and its events are not ours.
        hotKeyPlatform_ = control::X11HotKeys::Open();
        if (!hotKeyPlatform_) {
            noHotKeyDisplay_ = true;
            messages_.Show({"Hot keys need an X display, and none can be opened: this runtime "
                            "goes on without its hot keys.",
                            RuntimeCaptionFor(), config::MessageIcon::Exclamation,
                            config::MessageButtons::Ok});
            return;
        }
        hotKeys_ = std::make_unique<control::HotKeys>(cfg_, *control_, *hotKeyPlatform_);
    }
    hotKeys_->Register();
}

void HeadlessRuntime::StopHotKeys() {
    if (hotKeys_)
        hotKeys_->Release();
}

std::string HeadlessRuntime::SuspendedMessage() const {
    // Only the ways this runtime really offers: the DDE command while its
    // server is on the bus, and the resume hot keys it could take.
    std::vector<std::string> ways;
    if (ddeServer_ && ddeServer_->Serving())
        ways.push_back("with: corvane dde execute Corvane " + config::DdeTopic(cfg_) +
                       " \"{RESUME}\"");
    if (hotKeys_) {
        if (auto names = hotKeys_->RegisteredNames(control::ResumeInput); !names.empty())
            ways.push_back("with " + HotKeyList(names));
        if (auto names = hotKeys_->RegisteredNames(control::ResumeForOneRecord); !names.empty())
            ways.push_back("for one record with " + HotKeyList(names));
    }
    const std::string lead = "Input is suspended (the configuration activates suspended); ";
    if (ways.empty())
        return lead + "this runtime has no D-Bus server and no resume hot key, so nothing "
                      "will be read from the instrument until it is stopped.";
    std::string text = lead + "nothing is read from the instrument until it is resumed ";
    for (std::size_t i = 0; i < ways.size(); ++i)
        text += (i ? ", or " : "") + ways[i];
    return text;
}

} // namespace app
