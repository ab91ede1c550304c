<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: MIT -->
<!-- Any answer of the cover services as plain text: one line "name: value" for each element and attribute with a value. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text" encoding="UTF-8"/>

  <xsl:template match="*">
    <xsl:if test="not(*)">
      <xsl:value-of select="concat(name(), ': ', normalize-space(), '&#10;')"/>
    </xsl:if>
    <xsl:apply-templates select="@*|*"/>
  </xsl:template>

  <xsl:template match="@*">
    <xsl:value-of select="concat(name(..), ' ', name(), ': ', normalize-space(), '&#10;')"/>
  </xsl:template>
</xsl:stylesheet>
