#pragma once

#include "depth_axis.h"
#include "depth_points.h"

#include <string>

namespace chain
{

inline const std::string anyProducer = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";

/// The depth camera behind the producer for any camera.
class AnyDepth : public testing::Test
{
protected:
    const gentlctl::Features &Remote() const { return m_camera.Remote(); }

    void Load(const std::string &userSet) const
    {
        Remote().Set("UserSetSelector", userSet);
        Remote().Execute("UserSetLoad");
    }

    Shot ShotIn(const std::string &mode)
    {
        Remote().Set("Scan3dOutputMode", mode);
        return TakeShot(m_camera);
    }

    DepthCamera m_opened{anyProducer};
    Camera &m_camera{m_opened.camera};
};

} // namespace chain
