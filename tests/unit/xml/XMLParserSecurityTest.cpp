// SPDX-License-Identifier: MIT
#include "xml/XMLParser.h"

#include "tests/unit/xml/Stylesheets.h"
#include "util/Exception.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

using tests::answer;
using tests::making;
using tests::printing;
using tests::stylesheet;
using util::XMLParser;

namespace {

namespace fs = std::filesystem;

constexpr const char* secret = "the secret";

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

/** The process's highest memory use so far. */
long peakMebibytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

/** Listens on a local port to which nobody must connect. */
class Listener {
public:
    Listener() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(socket_, generic, length) != 0 || ::listen(socket_, 5) != 0 ||
            ::getsockname(socket_, generic, &length) != 0)
            throw std::runtime_error("no port to listen on");
        port_ = ntohs(address.sin_port);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { ::close(socket_); }

    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/a.xml"; }

    [[nodiscard]] bool wasCalled() const {
        const int connection = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) ::close(connection);
        return connection >= 0 || errno != EAGAIN;
    }

private:
    int socket_;
    in_port_t port_ = 0;
};

class HostileStylesheet : public tests::Stylesheets {
protected:
    /**
     * Expects that the stylesheet `name` gives no result and logs one line that contains `reason`, and that
     * the next stylesheet works.
     */
    void expectRefused(const std::string& name, std::string_view reason = "") {
        EXPECT_EQ(transform(name), "") << name;
        EXPECT_EQ(linesSaid(), 1) << said;
        EXPECT_EQ(said.find("sleevery.fcgi: stylesheet \""), 0U) << said;
        EXPECT_NE(said.find(reason), std::string::npos) << said;
        EXPECT_EQ(said.find(secret), std::string::npos) << said;
        write("honest.xsl", printing("//Image"));
        EXPECT_EQ(transform("honest.xsl"), "[17]") << said;
        EXPECT_EQ(said, "");
    }

    void expectRefusedWith(std::string_view content, std::string_view reason = "") {
        write("hostile.xsl", content);
        expectRefused("hostile.xsl", reason);
    }

    fs::path writeOutside(const std::string& name, std::string_view content) const {
        std::ofstream(outside() / name, std::ios::binary) << content;
        return outside() / name;
    }
};

class HostileDocument : public tests::Stylesheets {
protected:
    static void expectRefused(const std::string& document) {
        XMLParser parser;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(parser.parse(document));
        const std::string line = testing::internal::GetCapturedStderr();
        EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
        EXPECT_TRUE(parser.parse(answer));
    }
};

/** Ten entities; each one repeats the one before ten times. */
std::string laughs() {
    std::string declarations = "<!ENTITY l0 'ha'>";
    for (int i = 1; i < 10; ++i)
        declarations +=
            "<!ENTITY l" + std::to_string(i) + " '" + repeated("&l" + std::to_string(i - 1) + ";", 10) + "'>";
    return declarations;
}

/** A template that calls itself `levels` times and nests 240 elements in each call. */
std::string deepTree(int levels, const std::string& use) {
    return stylesheet(
        "<xsl:template match='/'><xsl:variable name='tree'><xsl:call-template name='deep'><xsl:with-param "
        "name='n' select='" +
        std::to_string(levels) + "'/></xsl:call-template></xsl:variable><out>" + use +
        "</out></xsl:template><xsl:template name='deep'><xsl:param name='n'/>" + repeated("<q>", 240) +
        "<xsl:if test='$n &gt; 1'><xsl:call-template name='deep'><xsl:with-param name='n' select='$n - 1'/>"
        "</xsl:call-template></xsl:if>" +
        repeated("</q>", 240) + "</xsl:template>");
}

/** A template that calls itself forty times and doubles its argument each time, by means of `twice`. */
std::string doubling(const std::string& twice) {
    return stylesheet(
        "<xsl:template match='/'><xsl:call-template name='d'><xsl:with-param name='s' select='//Album'/>"
        "<xsl:with-param name='n' select='40'/></xsl:call-template></xsl:template>"
        "<xsl:template name='d'><xsl:param name='s'/><xsl:param name='n'/><xsl:if test='$n &gt; 0'>"
        "<xsl:call-template name='d'>" +
        twice +
        "<xsl:with-param name='n' select='$n - 1'/></xsl:call-template></xsl:if>"
        "<xsl:if test='$n = 0'><xsl:value-of select='$s'/></xsl:if></xsl:template>");
}

} // namespace

TEST_F(HostileDocument, MayNotDeclareItsType) {
    const Listener listener;
    const auto file = write("secret.txt", secret);
    expectRefused("<!DOCTYPE a><a/>");
    expectRefused("<!DOCTYPE a []><a/>");
    expectRefused("<!DOCTYPE a [<!ENTITY e SYSTEM '" + file.string() + "'>]><a>&e;</a>");
    expectRefused("<!DOCTYPE a [<!ENTITY % e SYSTEM '" + listener.url() + "'>%e;]><a/>");
    expectRefused("<!DOCTYPE a SYSTEM '" + listener.url() + "'><a/>");
    expectRefused("<!DOCTYPE a PUBLIC 'a' '" + file.string() + "'><a/>");
    expectRefused("<!DOCTYPE a [<!ENTITY e '1'>]><a b='&e;'/>");
    EXPECT_FALSE(listener.wasCalled());
}

TEST_F(HostileDocument, MayNotLaughABillionTimes) {
    expectRefused("<!DOCTYPE a [" + laughs() + "]><a b='&l9;'>&l9;</a>");
}

TEST_F(HostileDocument, MayNotBeLargerThanItsLimit) {
    std::string document = "<a>" + std::string(std::size_t{64} * 1024 * 1024, ' ') + "</a>";
    expectRefused(document);
}

TEST_F(HostileDocument, MayNotNestTooDeeply) { expectRefused(repeated("<a>", 300) + repeated("</a>", 300)); }

TEST_F(HostileDocument, IsNotIncludedInto) {
    const auto file = write("secret.txt", secret);
    XMLParser parser;
    ASSERT_TRUE(parser.parse("<a xmlns:i='http://www.w3.org/2001/XInclude'><i:include href='" +
                             file.string() + "' parse='text'/></a>"));
    EXPECT_EQ(parser.select("string(/)"), std::vector<std::string>{""});
}

TEST_F(HostileStylesheet, NameMayNotLeaveTheFolder) {
    const auto path = writeOutside("outside.xsl", printing("1"));
    EXPECT_EQ(transform(path), "[1]");
    expectRefused("../outside.xsl", "no such file");
    expectRefused("./../outside.xsl", "no such file");
    expectRefused("../xslt/../outside.xsl", "no such file");
    fs::create_symlink(path, folder() / "link.xsl");
    expectRefused("link.xsl", "no such file");
    fs::create_directory_symlink(outside(), folder() / "up");
    expectRefused("up/outside.xsl", "no such file");
}

TEST_F(HostileStylesheet, FolderIsNotAPrefixOfAName) {
    fs::create_directory(outside() / "xslt-other");
    writeOutside("xslt-other/a.xsl", printing("1"));
    expectRefused("../xslt-other/a.xsl", "no such file");
}

TEST_F(HostileStylesheet, NameMayNotBeAnAddress) {
    const Listener listener;
    const auto path = write("a.xsl", printing("1"));
    expectRefused(listener.url(), "Addresses");
    expectRefused("ftp" + listener.url().substr(4), "Addresses");
    expectRefused("file://" + path.string(), "Addresses");
    expectRefused("FILE:" + path.string(), "Addresses");
    EXPECT_FALSE(listener.wasCalled());
}

TEST_F(HostileStylesheet, NameMayNotBeAnythingButAFileName) {
    expectRefused("");
    expectRefused(".");
    expectRefused("/");
    expectRefused("none.xsl");
    expectRefused("/none.xsl");
    expectRefused(folder() / "none.xsl");
    expectRefused(std::string(300, 'a'));
    expectRefused(std::string(100'000, 'a'));
    expectRefused("/" + repeated("a/", 50'000));
    expectRefused("a\nb\x1B[31m\xFF.xsl", "a\\x0Ab\\x1B[31m\\xFF.xsl");
    XMLParser parser;
    ASSERT_TRUE(parser.parse(answer));
    EXPECT_EQ(parser.transform(nullptr), "");
}

TEST_F(HostileStylesheet, MustBeARegularFile) {
    ASSERT_EQ(::mkfifo((folder() / "fifo.xsl").c_str(), 0600), 0);
    expectRefused("fifo.xsl", "not a regular file");
    fs::create_directory(folder() / "folder.xsl");
    expectRefused("folder.xsl", "not a regular file");
    expectRefused("/dev/zero", "not a regular file");
    expectRefused("/dev/tty");
}

TEST_F(HostileStylesheet, MayNotBeLargerThanItsLimit) {
    const std::string text = printing("1");
    const std::string padding(std::size_t{4} * 1024 * 1024 - text.size(), ' ');
    write("fits.xsl", text + padding);
    EXPECT_EQ(transform("fits.xsl"), "[1]") << said;
    expectRefusedWith(text + padding + " ", "larger");
    write("sparse.xsl", text);
    fs::resize_file(folder() / "sparse.xsl", std::uintmax_t{5} * 1024 * 1024);
    expectRefused("sparse.xsl", "larger");
}

TEST_F(HostileStylesheet, MayNotReadOutsideItsFolder) {
    const auto file = writeOutside("secret.xml", "<a>the secret</a>");
    for (const std::string& uri :
         {file.string(), "file://" + file.string(), std::string("../secret.xml"),
          std::string("%2E%2E/secret.xml"), "./../" + file.parent_path().filename().string() + "/secret.xml",
          std::string("/etc/passwd")})
        expectRefusedWith(printing("document('" + uri + "')"), "no such file");
    expectRefusedWith("<?xml version='1.0'?><xsl:stylesheet version='1.0' xml:base='file://" +
                      outside().string() +
                      "/' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'><xsl:template match='/'>"
                      "<xsl:copy-of select=\"document('secret.xml')\"/></xsl:template></xsl:stylesheet>");
}

TEST_F(HostileStylesheet, MayNotReadBesideItsOwnFolder) {
    write("secret.xml", "<a>the secret</a>");
    fs::create_directory(folder() / "sub");
    write("sub/hostile.xsl", printing("document('../secret.xml')"));
    expectRefused("sub/hostile.xsl", "no such file");
    write("sub/hostile.xsl", stylesheet("<xsl:include href='../secret.xml'/>"));
    expectRefused("sub/hostile.xsl", "no such file");
}

TEST_F(HostileStylesheet, MayNotReadThroughALink) {
    fs::create_symlink(writeOutside("secret.xml", "<a>the secret</a>"), folder() / "link.xml");
    expectRefusedWith(printing("document('link.xml')"), "no such file");
    expectRefusedWith(stylesheet("<xsl:import href='link.xml'/>"), "no such file");
    fs::create_directory_symlink(outside(), folder() / "up");
    expectRefusedWith(printing("document('up/secret.xml')"), "no such file");
}

TEST_F(HostileStylesheet, MayNotImportOrIncludeFromOutside) {
    const auto file = writeOutside("outside.xsl", making(secret));
    for (const std::string& uri :
         {file.string(), "file://" + file.string(), std::string("../outside.xsl"), std::string("/dev/zero")})
        for (std::string content : {"<xsl:import href='", "<xsl:include href='"})
            expectRefusedWith(stylesheet(content.append(uri).append("'/>")), "no such file");
}

TEST_F(HostileStylesheet, MayNotGoToTheNetwork) {
    const Listener listener;
    const std::string url = listener.url();
    expectRefusedWith(printing("document('" + url + "')"), "refused");
    expectRefusedWith(printing("document('ftp" + url.substr(4) + "')"), "refused");
    expectRefusedWith(printing("document('" + url.substr(5) + "')"), "none");
    expectRefusedWith(stylesheet("<xsl:import href='" + url + "'/>"), "refused");
    expectRefusedWith(stylesheet("<xsl:include href='" + url + "'/>"), "refused");
    write("typed.xsl", "<!DOCTYPE xsl:stylesheet SYSTEM '" + url + "'>" + printing("1"));
    EXPECT_EQ(transform("typed.xsl"), "[1]") << said;
    EXPECT_FALSE(listener.wasCalled());
}

TEST_F(HostileStylesheet, GetsNoExternalEntities) {
    const Listener listener;
    for (const std::string& uri :
         {write("secret.txt", secret).string(), std::string("secret.txt"), listener.url()}) {
        const std::string entity = "<!ENTITY e SYSTEM '" + uri + "'>";
        write("general.xsl", "<!DOCTYPE xsl:stylesheet [" + entity + "]>" + making("[&e;]"));
        EXPECT_EQ(transform("general.xsl").find(secret), std::string::npos);
        write("parameter.xsl",
              "<!DOCTYPE xsl:stylesheet [<!ENTITY % e SYSTEM '" + uri + "'>%e;]>" + making("[1]"));
        EXPECT_EQ(transform("parameter.xsl").find(secret), std::string::npos);
        write("data.xml", "<!DOCTYPE a [" + entity + "]><a>&e;</a>");
        write("reading.xsl", printing("document('data.xml')"));
        EXPECT_EQ(transform("reading.xsl").find(secret), std::string::npos);
    }
    EXPECT_FALSE(listener.wasCalled());
}

TEST_F(HostileStylesheet, MayUseItsOwnEntities) {
    write("entity.xsl", "<!DOCTYPE xsl:stylesheet [<!ENTITY e 'replaced'>]>" + making("[&e;]"));
    EXPECT_EQ(transform("entity.xsl"), "[replaced]");
}

TEST_F(HostileStylesheet, MayNotLaughABillionTimes) {
    expectRefusedWith("<!DOCTYPE xsl:stylesheet [" + laughs() + "]>" + making("&l9;"), "entity");
    expectRefusedWith("<!DOCTYPE xsl:stylesheet [" + laughs() + "]>" + making("<a b='&l9;'/>"), "entity");
    const std::string large = "<!ENTITY e '" + std::string(100'000, 'a') + "'>";
    expectRefusedWith("<!DOCTYPE xsl:stylesheet [" + large + "]>" + making(repeated("&e;", 100'000)),
                      "entity");
    write("data.xml", "<!DOCTYPE a [" + laughs() + "]><a>&l9;</a>");
    expectRefusedWith(printing("document('data.xml')"));
}

TEST_F(HostileStylesheet, MayNotWriteFiles) {
    const auto path = outside() / "written";
    const auto writer = [&](const std::string& ns, const std::string& element) {
        return "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' xmlns:w='" +
               ns + "' extension-element-prefixes='w'><xsl:template match='/'><out><" + element + ">x</" +
               element.substr(0, element.find(' ')) + "></out></xsl:template></xsl:stylesheet>";
    };
    expectRefusedWith(making("<xsl:document href='" + path.string() + "'>x</xsl:document>"), "refused");
    expectRefusedWith(making("<xsl:document href='file://" + path.string() + "'>x</xsl:document>"),
                      "refused");
    expectRefusedWith(making("<xsl:document href='" + path.string() + "/a/b'>x</xsl:document>"), "refused");
    expectRefusedWith(
        writer("http://icl.com/saxon", "w:output file='" + path.string() + "' href='" + path.string() + "'"),
        "refused");
    expectRefusedWith(
        writer("org.apache.xalan.xslt.extensions.Redirect", "w:write file='" + path.string() + "'"),
        "refused");
    expectRefusedWith(writer("http://www.jclark.com/xt", "w:document href='" + path.string() + "'"),
                      "refused");
    expectRefusedWith(writer("http://exslt.org/common", "w:document href='" + path.string() + "'"));
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(HostileStylesheet, MayNotRecurseForEver) {
    expectRefusedWith(
        stylesheet("<xsl:template match='/' name='a'><q><xsl:call-template name='a'/></q></xsl:template>"),
        "recursion");
    expectRefusedWith(
        stylesheet("<xsl:template match='/|@*|node()'><xsl:apply-templates select='/'/></xsl:template>"),
        "recursion");
    expectRefusedWith(stylesheet("<xsl:template match='/' name='a'>" + repeated("<xsl:if test='1'>", 200) +
                                 "<xsl:call-template name='a'/>" + repeated("</xsl:if>", 200) +
                                 "</xsl:template>"),
                      "recursion");
    expectRefusedWith(stylesheet("<xsl:variable name='a' select='$b'/><xsl:variable name='b' select='$a'/>"
                                 "<xsl:template match='/'><xsl:value-of select='$a'/></xsl:template>"));
}

TEST_F(HostileStylesheet, MayRecurseAsDeepAsHonestOnesDo) {
    write("deep.xsl",
          stylesheet(
              "<xsl:output method='text'/><xsl:template match='/' name='a'><xsl:param name='n' "
              "select='300'/><xsl:if test='$n &gt; 0'>."
              "<xsl:call-template name='a'><xsl:with-param name='n' select='$n - 1'/></xsl:call-template>"
              "</xsl:if></xsl:template>"));
    EXPECT_EQ(transform("deep.xsl"), std::string(300, '.')) << said;
}

TEST_F(HostileStylesheet, MayNotLoopForEver) {
    std::string calls;
    for (int i = 0; i < 40; ++i)
        calls += "<xsl:template name='a" + std::to_string(i) + "'>" +
                 repeated("<xsl:call-template name='a" + std::to_string(i + 1) + "'/>", 2) +
                 "</xsl:template>";
    expectRefusedWith(stylesheet("<xsl:template match='/'><xsl:call-template name='a0'/></xsl:template>" +
                                 calls + "<xsl:template name='a40'/>"),
                      "limit exceeded");
}

TEST_F(HostileStylesheet, MayNotLoopForEverInOneExpression) {
    expectRefusedWith(printing(repeated("//node()[count(", 10) + "//node()" + repeated(") &gt; 1]", 10)),
                      "limit exceeded");
}

TEST_F(HostileStylesheet, MayNotWriteExpressionsThatNestForEver) {
    expectRefusedWith(printing(repeated("(", 50'000) + "1" + repeated(")", 50'000)), "Recursion limit");
    expectRefusedWith(printing(repeated("a[", 50'000) + "1" + repeated("]", 50'000)), "Recursion limit");
    expectRefusedWith(
        stylesheet("<xsl:template match='" + repeated("a[", 50'000) + "1" + repeated("]", 50'000) + "'/>"),
        "Recursion limit");
}

TEST_F(HostileStylesheet, MayNotDoubleATextForEver) {
    expectRefusedWith(doubling("<xsl:with-param name='s' select='concat($s, $s)'/>"), "too much memory");
    EXPECT_LT(peakMebibytes(), 2048);
}

TEST_F(HostileStylesheet, ComparesLongTextsInLinearTime) {
    std::string doubling = "<xsl:variable name='a0' select=\"'aaaaaaaa'\"/>";
    for (int i = 1; i <= 18; ++i)
        doubling += "<xsl:variable name='a" + std::to_string(i) + "' select='concat($a" +
                    std::to_string(i - 1) + ", $a" + std::to_string(i - 1) + ")'/>";
    for (const char* expression :
         {"contains($a18, concat($a17, 'b'))", "substring-before($a18, concat($a17, 'b'))",
          "substring-after($a18, concat($a17, 'b'))",
          "string-length(translate($a18, concat($a17, 'b'), ''))"}) {
        write("long.xsl", making(doubling + "[<xsl:value-of select=\"" + expression + "\"/>]"));
        util::XMLParser parser;
        ASSERT_TRUE(parser.parse(answer));
        EXPECT_NE(parser.transform("long.xsl"), "") << expression;
    }
}

TEST_F(HostileStylesheet, MayNotDoubleATreeForEver) {
    expectRefusedWith(doubling("<xsl:with-param name='s'><xsl:copy-of select='$s'/><a/><xsl:copy-of "
                               "select='$s'/></xsl:with-param>"),
                      "too much memory");
    EXPECT_LT(peakMebibytes(), 2048);
}

TEST_F(HostileStylesheet, MayNotCopyALongTextForEver) {
    std::string doubled = "<xsl:variable name='v0' select=\"'0123456789'\"/>";
    for (int i = 0; i < 16; ++i)
        doubled += "<xsl:variable name='v" + std::to_string(i + 1) + "' select='concat($v" +
                   std::to_string(i) + ", $v" + std::to_string(i) + ")'/>";
    expectRefusedWith(making(doubled + repeated("<xsl:for-each select='/Upload|/Upload/Image'>", 20) +
                             "<xsl:if test=\"contains($v16, 'z')\"/>" + repeated("</xsl:for-each>", 20)),
                      "too much memory");
}

TEST_F(HostileStylesheet, MayNotAskForEverythingInOneInstruction) {
    expectRefusedWith(deepTree(60, "<xsl:copy-of select='x:node-set($tree)//*'/>"), "too much memory");
    EXPECT_LT(peakMebibytes(), 2048);
}

TEST_F(HostileStylesheet, MayBuildADeepTreeButNotCopyIt) {
    write("deep.xsl", deepTree(400, "<xsl:value-of select='count(x:node-set($tree)//q)'/>"));
    EXPECT_EQ(transform("deep.xsl"), "<?xml version=\"1.0\"?>\n<out>96000</out>\n") << said;
    expectRefusedWith(deepTree(400, "<xsl:copy-of select='$tree'/>"), "too deep");
}

TEST_F(HostileStylesheet, MayNotReadManyFiles) {
    write("data.xml", "<a/>");
    const auto reading = [](int files) {
        return stylesheet(
            "<xsl:output method='text'/><xsl:template match='/' name='a'><xsl:param name='n' select='" +
            std::to_string(files) +
            "'/><xsl:if test='$n &gt; 0'><xsl:value-of select=\"count(document(concat('data.xml?', $n)))\"/>"
            "<xsl:call-template name='a'><xsl:with-param name='n' select='$n - "
            "1'/></xsl:call-template></xsl:if></xsl:template>");
    };
    write("some.xsl", reading(50));
    EXPECT_EQ(transform("some.xsl"), std::string(50, '1')) << said;
    expectRefusedWith(reading(70), "too many files");
}

TEST_F(HostileStylesheet, MayNotReadManyBytes) {
    write("data.xml", "<a/>" + std::string(4'000'000, ' '));
    expectRefusedWith(
        printing(
            "count(document('data.xml')|document('data.xml?1')|document('data.xml?2')|document('data.xml?3')|"
            "document('data.xml?4'))"),
        "too large");
}

TEST_F(HostileStylesheet, MayNotReadPipesAndFolders) {
    ASSERT_EQ(::mkfifo((folder() / "fifo.xml").c_str(), 0600), 0);
    expectRefusedWith(printing("document('fifo.xml')"), "not a regular file");
    expectRefusedWith(stylesheet("<xsl:import href='fifo.xml'/>"), "not a regular file");
    fs::create_directory(folder() / "sub");
    expectRefusedWith(printing("document('sub')"), "not a regular file");
    write("large.xml", "<a/>" + std::string(std::size_t{5} * 1024 * 1024, ' '));
    expectRefusedWith(printing("document('large.xml')"), "larger");
}

TEST_F(HostileStylesheet, MayNotImportItself) {
    expectRefusedWith(stylesheet("<xsl:import href='hostile.xsl'/>"), "recursion");
    expectRefusedWith(stylesheet("<xsl:include href='hostile.xsl'/>"));
    fs::create_directory_symlink(folder(), folder() / "here");
    expectRefusedWith(stylesheet("<xsl:import href='here/hostile.xsl'/>"));
    expectRefusedWith(stylesheet("<xsl:include href='here/hostile.xsl'/>"));
}

TEST_F(HostileStylesheet, MayNotFillStandardError) {
    write("loud.xsl", making("<xsl:for-each select='//*'><xsl:message>" + repeated("very loud ", 10'000) +
                             "</xsl:message></xsl:for-each>done"));
    EXPECT_EQ(transform("loud.xsl"), "done");
    EXPECT_EQ(linesSaid(), 1) << said;
    EXPECT_LT(said.size(), 1000U);
}
