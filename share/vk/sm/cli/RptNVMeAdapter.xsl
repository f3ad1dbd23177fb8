<?xml version="1.0" encoding="UTF-8"?>
<!-- NVMe adapters of a controller. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="controllers.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No NVMe adapters found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title"><xsl:call-template name="list-title"/></xsl:template>
</xsl:stylesheet>
