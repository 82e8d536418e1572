#pragma once

#include <string_view>

namespace Tarvik::MessageName {

// Each travels as its bare bytes in a frame of its own. Request and acknowledgement have no body; reply and
// report have one frame more, with their record in it.

/// Worker to parent: give me work.
inline constexpr std::string_view workRequest = "SCAN_WORKREQUEST";
/// Parent to worker: a work item. From here on the parent knows what this worker holds.
inline constexpr std::string_view workReply = "SCAN_WORKREPLY";
/// Worker to parent: a report.
inline constexpr std::string_view workComplete = "SCAN_WORKCOMPLETE";
/// Parent to worker: the report is recorded.
inline constexpr std::string_view workRecorded = "SCAN_WORKRECORDED";

} // namespace Tarvik::MessageName
