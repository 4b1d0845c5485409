#include "simulator/cameras/event_control.h"

#include "simulator/cameras/camera_model.h"
#include "simulator/clock.h"

namespace GenTL::simulator
{

namespace
{

struct EventId
{
    int64_t entry;
    uint64_t id;
};

// Entries of EventSelector, and the EventIDs.
constexpr EventId exposureEnd{0, 0x9001};
constexpr EventId test{1, 0x9002};

} // namespace

EventControl::EventControl(const CameraContext &context)
    : m_features(context.features), m_notify(context.notify)
{
    m_features.AfterWrite("TestEventGenerate",
                          [this]
                          {
                              if (IsOn(test.entry))
                              {
                                  m_notify(NumbersNotice(test.id, {Nanoseconds()}));
                              }
                          });
}

void EventControl::FrameBegins(uint64_t number)
{
    if (IsOn(exposureEnd.entry))
    {
        m_notify(NumbersNotice(exposureEnd.id, {Nanoseconds(), number}));
    }
}

bool EventControl::IsOn(int64_t event) const
{
    return m_features.IsTrue({"EventNotification", event});
}

CameraModel WithEvents(CameraModel camera)
{
    const char *const category = "EventControl";
    camera.events = {{exposureEnd.id, "ExposureEnd", "The exposure of a frame has ended.", {"FrameID"}},
                     {test.id, "Test", "A consumer has executed TestEventGenerate."}};
    camera.features = Joined(
        std::move(camera.features),
        std::vector{Enumeration(category, "EventSelector", "Event that EventNotification is about.",
                                {{"ExposureEnd", exposureEnd.entry}, {"Test", test.entry}})
                        .Visibility("Expert"),
                    Enumeration(category, "EventNotification", "Whether the selected event is sent.",
                                {{"Off", 0}, {"On", 1}})
                        .SelectedBy("EventSelector")
                        .Visibility("Expert"),
                    Command(category, "TestEventGenerate", "Sends the event Test.").Visibility("Expert")});
    camera.controls.push_back(Makes<EventControl>());
    return camera;
}

} // namespace GenTL::simulator
