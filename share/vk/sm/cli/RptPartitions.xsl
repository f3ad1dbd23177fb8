<?xml version="1.0" encoding="UTF-8"?>
<!-- Partitions of a virtual disk. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="vdisks.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No partitions found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">
    <xsl:variable name="first" select="$objects[1]"/>
    <xsl:value-of select="concat('Partitions of Virtual Disk ', $first/LogicalDriveNum, ' on Controller ', $first/GlobalNo)"/>
  </xsl:template>
</xsl:stylesheet>
