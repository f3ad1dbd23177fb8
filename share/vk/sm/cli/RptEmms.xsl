<?xml version="1.0" encoding="UTF-8"?>
<!-- Enclosure management modules of an enclosure. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="enclosures.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No enclosure management modules found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title"><xsl:call-template name="component-title"/></xsl:template>
</xsl:stylesheet>
