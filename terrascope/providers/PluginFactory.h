#pragma once

#include <afx.h>

namespace Terrascope {

/// Makes products of one kind under one name; implemented by plug-ins, which hand each factory to
/// the plug-in server.
///
/// Owns:    nothing that it has made: the caller of Create deletes it.
/// Threads: the host's user-interface thread; GetName also while the library is being loaded.
/// Errors:  an exception or a null product counts as "cannot make one".
///
/// The order of the virtual functions is part of the binary interface (engine version 1).
template <class TProduct>
class CPluginFactory {
public:
    virtual ~CPluginFactory() = default;

    /// The name by which a configuration asks for the product; compared ignoring case.
    virtual CString GetName() = 0;

    /// A new product, owned by the caller.
    virtual TProduct* Create() = 0;
};

}  // namespace Terrascope
