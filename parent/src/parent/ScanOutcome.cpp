#include "parent/ScanOutcome.h"

namespace Tarvik {

const char* verdictName(ScanVerdict verdict) {
    switch (verdict) {
    case ScanVerdict::reported:
        return "reported";
    case ScanVerdict::crashed:
        return "crashed";
    case ScanVerdict::hung:
        return "hung";
    case ScanVerdict::endedEarly:
        return "ended early";
    case ScanVerdict::corrupted:
        return "corrupted";
    case ScanVerdict::notConnected:
        return "not connected";
    case ScanVerdict::protocolViolation:
        return "protocol violation";
    case ScanVerdict::notStarted:
        return "not started";
    case ScanVerdict::notAddressable:
        return "not addressable";
    }
    return "";
}

bool blamesPlugin(ScanVerdict verdict) {
    switch (verdict) {
    case ScanVerdict::crashed:
    case ScanVerdict::hung:
    case ScanVerdict::endedEarly:
    case ScanVerdict::corrupted:
        return true;
    case ScanVerdict::reported:
    case ScanVerdict::notConnected:
    case ScanVerdict::protocolViolation:
    case ScanVerdict::notStarted:
    case ScanVerdict::notAddressable:
        break;
    }
    return false;
}

} // namespace Tarvik
