#pragma once
// What the visual module tests share: the nodes a module put into its output,
// colours compared within a tolerance, and a host proxy that records what the
// module tells the host besides its errors.
#include "NetworkFixture.h"

#include "core/data/VdGeometry.h"
#include "shr/Color4b.h"

#include <Inventor/SoPath.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/nodes/SoText2.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

namespace visualtest {

// The root of the module's output geometry.
inline SoNode* Root(const core::VoModule& module, size_t output = 0)
{
    return module.OutputGeometry(output).GetRoot().get();
}

// Every node of type `Node` (or derived from it) below `root`, in drawing order.
template <class Node>
std::vector<Node*> All(SoNode* root)
{
    SoSearchAction search;
    search.setType(Node::getClassTypeId());
    search.setInterest(SoSearchAction::ALL);
    search.apply(root);
    std::vector<Node*> nodes;
    for (int i = 0; i < search.getPaths().getLength(); ++i)
        nodes.push_back(static_cast<Node*>(search.getPaths()[i]->getTail()));
    return nodes;
}

// The first such node, or null.
template <class Node>
Node* First(SoNode* root)
{
    SoSearchAction search;
    search.setType(Node::getClassTypeId());
    search.apply(root);
    return search.getPath() ? static_cast<Node*>(search.getPath()->getTail()) : nullptr;
}

// The same in the module's output geometry.
template <class Node>
std::vector<Node*> All(const core::VoModule& module)
{
    return All<Node>(Root(module));
}
template <class Node>
Node* First(const core::VoModule& module)
{
    return First<Node>(Root(module));
}

// The first line of each text in the module's output, in drawing order.
inline std::vector<std::string> Texts(const core::VoModule& module)
{
    std::vector<std::string> texts;
    for (SoText2* text : All<SoText2>(module))
        texts.push_back(text->string[0].getString());
    return texts;
}

// `Base`, a network fixture, with the two steps the visual tests take most.
template <class Base>
class ModuleFixture : public Base {
protected:
    // One pass, after which each of `modules` must have run without fault.
    void Pass(std::initializer_list<const core::VoModule*> modules)
    {
        Base::RunPass();
        for (const core::VoModule* module : modules)
            ASSERT_EQ(module->GetStatus(), core::VoModule::ModuleOk) << module->Name();
    }
    // One pass after a change made to `module` directly, as the host makes them.
    void Rerun(core::VoModule* module)
    {
        module->SetModified();
        Base::RunPass();
    }
};

// Red, green and blue each within `tolerance`; alpha is not compared.
inline bool Near(const shr::Color4b& a, const shr::Color4b& b, int tolerance = 1)
{
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance;
}

inline std::string Text(const shr::Color4b& c)
{
    return std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b);
}

// Records, besides the errors, the status lines and the rows the module asks
// the host to refresh; both may come from the update thread.
class RecordingProxy : public testsupport::ErrorProxy {
public:
    void StatusMsg(const char* format, ...) override
    {
        char text[512];
        va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
        std::lock_guard<std::mutex> lock(m_Mutex);
        statuses.push_back(text);
    }
    void UpdatePropertyList(const core::VoModule*, int property, bool) override
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        refreshed.push_back(property);
    }

    std::vector<std::string> statuses;
    std::vector<int> refreshed;
};

} // namespace visualtest
