// Display formatting of Julian-day values: local time in the user's locale.
//
// The locale comes from the environment (LC_ALL, LC_TIME, LANG) through
// newlocale, once per process, and is used with strftime_l and
// nl_langinfo_l only: the process-wide locale is never changed. An unknown
// or unset locale falls back to "C". Output is decoded as UTF-8, the codeset
// of every locale this application is installed with; bytes of another
// codeset would show as U+FFFD, never as broken text.
//
// The locale has a short date ("%x") and a time ("%X") form. The short
// time and the day-and-month forms are derived from them by removing the
// seconds, or the year, together with the separator next to them.
#include "gnr_projectdb/sys.h"

#include "framework/yxdatetime.h"

#include "framework/yxutf8.h"

#include <clocale>
#include <cmath>
#include <ctime>
#include <langinfo.h>
#include <locale.h>
#include <string>
#include <vector>

namespace {

locale_t UserLocale() {
    static const locale_t loc = [] {
        locale_t l = newlocale(LC_ALL_MASK, "", static_cast<locale_t>(nullptr));
        if (!l) l = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        return l;
    }();
    return loc;
}

std::string LangInfo(nl_item item, const char* fallback) {
    const locale_t loc = UserLocale();
    const char* s = loc ? nl_langinfo_l(item, loc) : nullptr;
    return s && *s ? std::string(s) : std::string(fallback);
}

// Local calendar fields of the value (whole seconds; ms separately).
std::tm LocalTm(double jdn) {
    const std::int64_t ms = YxJdn_ToUnixMs(jdn);
    const std::time_t secs = static_cast<std::time_t>(ms >= 0 ? ms / 1000 : -((-ms + 999) / 1000));
    std::tm tmv{};
    localtime_r(&secs, &tmv);
    return tmv;
}

CYxStringW Strftime(double jdn, const std::string& format) {
    if (format.empty()) return CYxStringW();
    const std::tm tmv = LocalTm(jdn);
    const locale_t loc = UserLocale();
    for (std::size_t size = 256; size <= 16384; size *= 4) {
        std::vector<char> buf(size);
        const std::size_t n = loc ? strftime_l(buf.data(), size, format.c_str(), &tmv, loc)
                                  : std::strftime(buf.data(), size, format.c_str(), &tmv);
        if (n > 0) return CYxStringW(YxWideFromUtf8(buf.data(), n));
    }
    return CYxStringW();  // every conversion empty (e.g. an empty %p)
}

// A strftime format split into literal runs and conversions ("%-d", "%OS").
struct SFormatToken {
    bool conversion;
    char conv;  // the conversion character, for conversions
    std::string text;
};

std::vector<SFormatToken> Tokenize(const std::string& f) {
    std::vector<SFormatToken> out;
    for (std::size_t i = 0; i < f.size();) {
        if (f[i] == '%' && i + 1 < f.size() && f[i + 1] != '%') {
            std::size_t j = i + 1;
            while (j < f.size() && std::string("_-0^#").find(f[j]) != std::string::npos) ++j;
            while (j < f.size() && f[j] >= '0' && f[j] <= '9') ++j;
            if (j < f.size() && (f[j] == 'E' || f[j] == 'O')) ++j;
            if (j >= f.size()) break;  // a dangling '%': dropped
            out.push_back({true, f[j], f.substr(i, j + 1 - i)});
            i = j + 1;
            continue;
        }
        const std::size_t len = f[i] == '%' ? 2 : 1;  // "%%" stays a literal pair
        if (out.empty() || out.back().conversion) out.push_back({false, 0, std::string()});
        out.back().text += f.substr(i, len);
        i += len;
    }
    return out;
}

// Composite conversions spelled out, so that their parts can be removed.
std::string Expand(const std::string& f) {
    std::string out;
    for (const SFormatToken& t : Tokenize(f)) {
        if (!t.conversion) out += t.text;
        else if (t.conv == 'D') out += "%m/%d/%y";
        else if (t.conv == 'F') out += "%Y-%m-%d";
        else if (t.conv == 'T') out += "%H:%M:%S";
        else if (t.conv == 'R') out += "%H:%M";
        else if (t.conv == 'r') out += LangInfo(T_FMT_AMPM, "%I:%M:%S %p");
        else out += t.text;
    }
    return out;
}

// Removes the conversions whose character is in `convs`, each with one
// separator character: the one before it, or the one after it at the start.
std::string RemoveFields(const std::string& format, const char* convs) {
    std::vector<SFormatToken> tokens = Tokenize(Expand(format));
    for (std::size_t i = 0; i < tokens.size();) {
        if (!tokens[i].conversion || std::string(convs).find(tokens[i].conv) == std::string::npos) {
            ++i;
            continue;
        }
        if (i > 0 && !tokens[i - 1].conversion) {
            std::string& prev = tokens[i - 1].text;
            prev.erase(prev.size() - 1);
        } else if (i + 1 < tokens.size() && !tokens[i + 1].conversion) {
            tokens[i + 1].text.erase(0, 1);
        }
        tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(i));
    }
    std::string out;
    for (const SFormatToken& t : tokens) out += t.text;
    return out;
}

std::string DateFormat() { return LangInfo(D_FMT, "%m/%d/%y"); }
std::string TimeFormat() { return LangInfo(T_FMT, "%H:%M:%S"); }
std::string ShortTimeFormat() { return RemoveFields(TimeFormat(), "S"); }

}  // namespace

CYxStringW YxProjectDb_Sys_JdnFormat(double jdn) { return Strftime(jdn, DateFormat() + " " + TimeFormat()); }

CYxStringW YxProjectDb_Sys_JdnFormatShort(double jdn) {
    return Strftime(jdn, DateFormat() + " " + ShortTimeFormat());
}

CYxStringW YxProjectDb_Sys_JdnFormatDateDM(double jdn) { return Strftime(jdn, RemoveFields(DateFormat(), "YyCGg")); }

CYxStringW YxProjectDb_Sys_JdnFormatDateLong(double jdn) { return Strftime(jdn, "%A, %-d %B %Y"); }

CYxStringW YxProjectDb_Sys_JdnFormatDateShort(double jdn) { return Strftime(jdn, DateFormat()); }

CYxStringW YxProjectDb_Sys_JdnFormatTimeHHMMSSmmm(double jdn) {
    const SYxSystemTime st = YxJdn_ToLocalSystemTime(jdn);
    return CYxStringW::Format(L"%02d:%02d:%02d.%03d", st.wHour, st.wMinute, st.wSecond, st.wMilliseconds);
}

CYxStringW YxProjectDb_Sys_JdnFormatTimeLong(double jdn) { return Strftime(jdn, TimeFormat()); }

CYxStringW YxProjectDb_Sys_JdnFormatTimeShort(double jdn) { return Strftime(jdn, ShortTimeFormat()); }

CYxStringW YxProjectDb_Sys_DayJdnFormatShort(double jdn) {
    return Strftime(jdn, "%a, " + DateFormat() + " " + ShortTimeFormat());
}
