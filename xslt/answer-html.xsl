<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: MIT -->
<!-- Any answer of the cover services as an HTML page. The page declares XSL-FO, which it does not use: an answer that does
     is sent as text/html, any other one as text/plain. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" encoding="UTF-8"/>

  <xsl:template match="/">
    <html xmlns:fo="http://www.w3.org/1999/XSL/Format">
      <head><title><xsl:value-of select="name(*)"/></title></head>
      <body>
        <table border="1"><xsl:apply-templates select="*"/></table>
      </body>
    </html>
  </xsl:template>

  <!-- An element with elements in it is a heading above them. -->
  <xsl:template match="*">
    <tr>
      <xsl:choose>
        <xsl:when test="*"><th colspan="2"><xsl:value-of select="name()"/></th></xsl:when>
        <xsl:otherwise>
          <td><xsl:value-of select="name()"/></td>
          <td><xsl:value-of select="normalize-space()"/></td>
        </xsl:otherwise>
      </xsl:choose>
    </tr>
    <xsl:apply-templates select="@*|*"/>
  </xsl:template>

  <xsl:template match="@*">
    <tr>
      <td><xsl:value-of select="concat(name(..), ' ', name())"/></td>
      <td><xsl:value-of select="."/></td>
    </tr>
  </xsl:template>
</xsl:stylesheet>
