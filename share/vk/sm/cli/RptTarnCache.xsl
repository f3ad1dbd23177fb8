<?xml version="1.0" encoding="UTF-8"?>
<!-- The cache feature. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="settings.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No cache feature found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">Tarn Cache</xsl:template>
</xsl:stylesheet>
