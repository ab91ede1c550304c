// SPDX-License-Identifier: MIT
#include "xml/XmlElement.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using xml::parseXml;
using xml::XmlElement;

/** Keeps the document alive together with its root element. */
struct Tree {
    explicit Tree(const std::string& text)
        : document(parseXml(text, 10'000)), root(XmlElement::rootOf(*document)) {}
    xml::XmlDoc document;
    XmlElement root;
};

TEST(XmlElement, HasANameWithoutItsPrefix) {
    const Tree tree("<p:Play xmlns:p='urn:p'/>");
    EXPECT_EQ(tree.root.name(), "Play");
    EXPECT_EQ(tree.root.nameSpace(), "urn:p");
    EXPECT_EQ(XmlElement().name(), "");
}

TEST(XmlElement, ListsChildrenOfAnyNameAndNamespaceInTheirOrder) {
    const Tree tree("<A>x<B/><!-- c --><p:C xmlns:p='urn:p'><D/></p:C><?pi?><B>2</B></A>");
    const auto children = tree.root.children();
    ASSERT_EQ(children.size(), 3U);
    EXPECT_EQ(children[0].name(), "B");
    EXPECT_EQ(children[1].name(), "C");
    EXPECT_EQ(children[1].nameSpace(), "urn:p");
    EXPECT_EQ(children[2].text(), "2");
    EXPECT_TRUE(XmlElement().children().empty());
}

TEST(XmlElement, TellsItsOwnTextFromThatOfItsChildren) {
    const Tree tree("<A>one <B>not this</B><![CDATA[<two>]]><!-- nor this --></A>");
    EXPECT_EQ(tree.root.ownText(), "one <two>");
    EXPECT_EQ(tree.root.text(), "one not this<two>");
    EXPECT_EQ(XmlElement().ownText(), "");
}

} // namespace
