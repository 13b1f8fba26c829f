#pragma once

#include <QString>
#include <string>

class QWidget;

namespace ModelEditor
{

class OpenDocument;

/// The work that is done as a run: scale, check and import. Meanwhile other files are edited, and this one is read on, but
/// while it is scaled.
///
/// Thread: the GUI thread.
class RunActions
{
public:
    /// Asks for values and a factor, and starts. @param address  an XPath of values to begin with.
    static void askScale(OpenDocument& document, const QString& address, QWidget* parent);

    /// @param leavesAlone  whether what cannot be scaled is left alone, and told. @return whether it was started.
    static bool scale(OpenDocument& document, const std::string& xpath, const std::string& factor,
                      bool leavesAlone);
    static bool check(OpenDocument& document);
    static bool import(OpenDocument& document, const std::string& path);
};

} // namespace ModelEditor
