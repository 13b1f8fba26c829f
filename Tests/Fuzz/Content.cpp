#include "Content.h"

#include "Applications/ModelEditor/Document/Markup.h"

#include <map>
#include <utility>

namespace
{

class Writer
{
public:
    explicit Writer(pugi::xml_node element) : top(element) {}

    std::string write()
    {
        auto node = top;
        while (node)
        {
            open(node);
            if (node.first_child())
            {
                node = node.first_child();
                continue;
            }
            if (node.type() == pugi::node_element)
            {
                close(node); // as one that has only an empty text
            }
            while (node != top && !node.next_sibling())
            {
                node = node.parent();
                close(node);
            }
            node = node == top ? pugi::xml_node() : node.next_sibling();
        }
        return content;
    }

private:
    void open(pugi::xml_node node)
    {
        if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata)
        {
            text += node.value();
            return;
        }
        endText(node.parent());
        content += "\n<" + std::to_string(node.type()) + " " + node.name() + " " + node.value();
        std::map<std::string, std::string> attributes;
        for (const auto attribute : node.attributes())
        {
            attributes[attribute.name()] = attribute.value();
        }
        for (const auto& [name, value] : attributes)
        {
            content += "\n@" + name + "=" + value;
        }
        content += "\n";
    }

    void close(pugi::xml_node node)
    {
        endText(node);
        content += "\n>\n";
    }

    void endText(pugi::xml_node parent)
    {
        const auto ended = std::exchange(text, {});
        content += parent == top && ModelEditor::isBlank(ended) ? "" : ended;
    }

    pugi::xml_node top;
    std::string content;
    std::string text;
};

} // namespace

std::string contentOf(pugi::xml_node top)
{
    return Writer(top).write();
}
