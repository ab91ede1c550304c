<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: MIT -->
<!-- Any answer of the cover services as XSL-FO for a printer: one line "name: value" for each element and attribute. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:fo="http://www.w3.org/1999/XSL/Format">
  <xsl:output method="xml" encoding="UTF-8"/>

  <xsl:template match="/">
    <fo:root>
      <fo:layout-master-set>
        <fo:simple-page-master master-name="page" page-width="210mm" page-height="297mm" margin="20mm">
          <fo:region-body/>
        </fo:simple-page-master>
      </fo:layout-master-set>
      <fo:page-sequence master-reference="page">
        <fo:flow flow-name="xsl-region-body">
          <fo:block font-size="18pt"><xsl:value-of select="name(*)"/></fo:block>
          <xsl:apply-templates select="*"/>
        </fo:flow>
      </fo:page-sequence>
    </fo:root>
  </xsl:template>

  <xsl:template match="*">
    <xsl:if test="not(*)">
      <fo:block><xsl:value-of select="concat(name(), ': ', normalize-space())"/></fo:block>
    </xsl:if>
    <xsl:apply-templates select="@*|*"/>
  </xsl:template>

  <xsl:template match="@*">
    <fo:block><xsl:value-of select="concat(name(..), ' ', name(), ': ', normalize-space())"/></fo:block>
  </xsl:template>
</xsl:stylesheet>
