#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Terrascope {

/// Where a plug-in hands in its factories. The call is virtual, so that a plug-in needs the
/// headers only and imports nothing from the library.
template <class TFactory>
class IPluginServer {
public:
    virtual ~IPluginServer() = default;

    /// Takes ownership of the factory.
    virtual void RegisterFactory(TFactory* factory) = 0;
};

/// Keeps the registered factories in the order of their registration.
///
/// Owns:    the factories; they are deleted front to back.
/// Threads: none of its own: filled while the library is loaded, read afterwards.
template <class TProduct, template <class> class TFactory>
class CPluginServer1 : public IPluginServer<TFactory<TProduct>> {
public:
    using Factory = TFactory<TProduct>;

    CPluginServer1() = default;
    CPluginServer1(const CPluginServer1&) = delete;
    CPluginServer1& operator=(const CPluginServer1&) = delete;
    ~CPluginServer1() override { DropFactories(0); }

    /// Takes whatever it is given: null and repeated pointers too. Those who walk the list skip
    /// nulls.
    void RegisterFactory(Factory* factory) override { m_factories.push_back(factory); }

    const std::vector<Factory*>& GetFactories() const { return m_factories; }

    /// Deletes the factories from position `first` on, each pointer once.
    void DropFactories(std::size_t first) {
        for (std::size_t i = first; i < m_factories.size(); ++i) {
            const auto end = m_factories.begin() + static_cast<std::ptrdiff_t>(i);
            if (std::find(m_factories.begin(), end, m_factories[i]) == end) {
                delete m_factories[i];
            }
        }
        m_factories.resize(std::min(first, m_factories.size()));
    }

private:
    std::vector<Factory*> m_factories;
};

}  // namespace Terrascope
