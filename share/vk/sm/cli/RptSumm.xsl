<?xml version="1.0" encoding="UTF-8"?>
<!-- Summary of the storage enclosures and their components. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="enclosures.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No storage enclosures found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">Storage Enclosure Summary</xsl:template>
</xsl:stylesheet>
