#include "copy/CopyJob.h"
#include "foundation/TextFunctions.h"

namespace qv {

// Binary units under their decimal names; a size right on a threshold reads
// 1024 of the lower unit. The text is the one Quorvane shows as it stands.
String CopyJob::getScaledSize(std::int64_t size) {
    struct Unit {
        double above;
        NumberMask mask;
        const char* name;
    };
    static constexpr Unit kUnits[] = {
        {1099511627776.0, "0.000", " TB"},
        {1073741824.0, "0.000", " GB"},
        {1048576.0, "0.0", " MB"},
        {1024.0, "0.0", " KB"},
    };
    const auto value = static_cast<double>(size);
    for (const Unit& unit : kUnits) {
        if (value > unit.above) return Format(value / unit.above, unit.mask) + unit.name;
    }
    return Format(value, "0.0") + " bytes";
}

// Two irregular cases in the hours are kept on purpose, since the peer shows
// the text as it comes: one hour and one minute lose a colon ("0101:00"), and
// two hours or more with other minutes get two ("02::05:00").
String CopyJob::secondsToString(std::int32_t seconds) {
    if (seconds < 60) {
        if (seconds < 1) return "00:00";
        if (seconds == 1) return "00:01";
        return "00:" + Format(seconds, "00");
    }
    if (seconds < 3600) {
        const std::int32_t minutes = seconds / 60;
        const std::int32_t rest = seconds % 60;
        return (minutes == 1 ? String("01:") : Format(minutes, "00") + ":") +
               (rest == 1 ? String("01") : Format(rest, "00"));
    }
    const std::int32_t hours = seconds / 3600;
    const std::int32_t minutes = (seconds % 3600) / 60;
    const std::int32_t rest = seconds % 60;
    const String hoursPart = hours == 1 ? String("01") : Format(hours, "00") + ":";
    const String minutesPart = minutes == 1 ? String("01:") : ":" + Format(minutes, "00") + ":";
    return hoursPart + minutesPart + Format(rest, "00");
}

String CopyJob::stringFromBool(bool value) {
    return value ? "true" : "false";
}

}  // namespace qv
