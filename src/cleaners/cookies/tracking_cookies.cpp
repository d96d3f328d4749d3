#include "cleaners/cookies/tracking_cookies.h"

#include <algorithm>

#include "app/worker_app_delegate.h"

namespace tasselby {

std::vector<std::string> WorkerAppDelegate::defaultTrackingCookies() {
    // Name prefixes, not whole names: two-letter entries such as "ID" or "ad"
    // catch every name that begins with them, and that breadth is wanted.
    // "OAX", "OAID" and "OASIS" are already covered by "OA" and stay anyway:
    // the order of the list is the order in which the entries are tried.
    return {
        "_em_", "FarkUser", "NID", "_OA", "LE", "POPUPCHECK", "OAX", "suid", "_m", "ad",
        "TLTUID", "OAID", "UUID", "OA", "v1st", "phpAds", "VWCUK", "GCIONID", "BBC-UID", "__a",
        "_w", "__c", "WSS_GW", "eid", "__g", "EkAnalytics", "Apache", "gmv", "vid", "CFTOKEN",
        "FTUserTrack", "__k", "CFID", ".ASPXANONYMOUS", "sUnique", "s1", "otp", "HumanClickID", "TC", "RM",
        "SID", "OASIS", "exp_", "__q", "AWSUSER_ID", "ref", "__r", "welcome", "TID", "VisitorID",
        "__u", "iCmpro", "emos_", "RES_TRACKINGID", "UID", "omniID", "woo", "AdUserID", "goo", "rupert",
        "etcnt_", "XCLGF", "_bit", "wpgb_", "mojo", "CNNid", "ACOOKIE", "wt_", "JEB2", "CoreID",
        "mds", "pb", "_jsuid", "HstC", "UNAUTHID", "anon", "IXA", "s_", "bblast", "bb_last",
        "wlid", "VISID", "TRUID", "VisID", "GUID", "c1", "_SUPERFLY", "globid", "zF", "Conversion",
        "omniUserID", "awpopup", "i00", "cluid", "_dw", "track", "MintUnique", "CP", "AVPUID", "ss_lastvisit",
        "stat_", "FC", "DM", "scorecardresearch", "BX", "bitt", "um", "pid", "re_ret", "tu",
        "WT_FPC", "WEBTRENDS", "meta", "fpc", "NGUserID", "ID", "piwik", "VISITOR", "_c", "EktGUID",
        "_km", "km",
    };
}

bool isTrackingCookieName(const std::optional<std::string>& name, const std::vector<std::string>& catalogue) {
    if (!name) return false;
    return std::any_of(catalogue.begin(), catalogue.end(),
                       [&](const std::string& prefix) { return name->starts_with(prefix); });
}

}  // namespace tasselby
