#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

const std::vector<AppStijl>& standaardApps() {
    static const std::vector<AppStijl> apps{
        {"com.apple.mail", "Mail", Stijl::zakelijk},
        {"com.microsoft.Outlook", "Outlook", Stijl::zakelijk},
        {"com.readdle.SparkDesktop", "Spark", Stijl::zakelijk},
        {"net.whatsapp.WhatsApp", "WhatsApp", Stijl::los},
        {"ru.keepcoder.Telegram", "Telegram", Stijl::los},
        {"org.telegram.desktop", "Telegram Desktop", Stijl::los},
        {"com.apple.MobileSMS", "Berichten", Stijl::los},
        {"com.tinyspeck.slackmacgap", "Slack", Stijl::neutraal},
        {"com.microsoft.teams2", "Microsoft Teams", Stijl::neutraal},
        {"com.microsoft.VSCode", "Visual Studio Code", Stijl::letterlijk},
        {"com.todesktop.230313mzl4w4u92", "Cursor", Stijl::letterlijk},
        {"com.apple.dt.Xcode", "Xcode", Stijl::letterlijk},
        {"dev.zed.Zed", "Zed", Stijl::letterlijk},
        {"com.apple.Terminal", "Terminal", Stijl::letterlijk},
        {"com.googlecode.iterm2", "iTerm", Stijl::letterlijk},
        {"com.mitchellh.ghostty", "Ghostty", Stijl::letterlijk},
        {"dev.warp.Warp-Stable", "Warp", Stijl::letterlijk},
    };
    return apps;
}

}  // namespace tolmo
