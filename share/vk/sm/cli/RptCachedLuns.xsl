<?xml version="1.0" encoding="UTF-8"?>
<!-- Cached LUNs. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="objects.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="title"><xsl:value-of select="'Cached LUNs'"/></xsl:with-param>
      <xsl:with-param name="none" select="'No cached LUNs found.'"/>
    </xsl:call-template>
  </xsl:template>
</xsl:stylesheet>
