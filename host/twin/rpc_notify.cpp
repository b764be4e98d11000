#include "twin/rpc.h"

namespace host::twin
{
namespace
{

std::optional<EventTime> time_of(const Call &call, const char *parameter)
{
    const auto text = call.text(parameter);
    return text ? event_time_of(*text) : std::nullopt;
}

} // namespace

Reply create_subscription(const Call &call)
{
    SubscriptionRequest request;
    request.stream = call.text("stream").value_or(Notifications::kStream);
    request.start = time_of(call, "startTime");
    request.stop = time_of(call, "stopTime");
    if (const auto *filter = call.child("filter")) {
        request.subtree = SubtreeFilter::from(filter);
    }
    call.device.subscribe(call.session, std::move(request));
    return {};
}

} // namespace host::twin
