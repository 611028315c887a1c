#pragma once

namespace Terrascope {

/// Keeps GDI+ started as long as one of them lives: the first starts it, the last shuts it down.
/// Every GDI+ object must be gone before the last session ends.
///
/// Threads: any, but never from DllMain: GDI+ starts threads of its own.
/// Errors:  IsStarted is false when GDI+ could not be started; the object may be used and
///          destroyed all the same.
class CGdiplusSession {
public:
    CGdiplusSession();
    ~CGdiplusSession();
    CGdiplusSession(const CGdiplusSession&) = delete;
    CGdiplusSession& operator=(const CGdiplusSession&) = delete;

    bool IsStarted() const { return m_bStarted; }

    /// The number of started sessions of this module.
    static int LiveCount();

private:
    bool m_bStarted = false;
};

}  // namespace Terrascope
