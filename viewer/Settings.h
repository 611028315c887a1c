#pragma once

#include <afxwin.h>

/// What the viewer remembers of the user, in TerrascopeViewer.ini of the user's application data
/// folder. What cannot be read is empty; what cannot be written is forgotten.
namespace Viewer {

CString LoadLastMap();
void SaveLastMap(const CString& name);

CString LoadLastAddress();
void SaveLastAddress(const CString& address);

}  // namespace Viewer
