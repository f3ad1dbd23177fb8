<?xml version="1.0" encoding="UTF-8"?>
<!-- Foreign or locked physical disks of a controller. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="disks.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No foreign or locked physical disks found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">
    <xsl:text>Foreign or Locked Physical Disks</xsl:text>
    <xsl:call-template name="on-controller"/>
  </xsl:template>
</xsl:stylesheet>
