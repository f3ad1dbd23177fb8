<?xml version="1.0" encoding="UTF-8"?>
<!-- Physical disks, tape drives and the spans of a virtual disk. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="disks.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none">
        <xsl:choose>
          <xsl:when test="contains($command, ' tape')">No tape drives found.</xsl:when>
          <xsl:otherwise>No physical disks found.</xsl:otherwise>
        </xsl:choose>
      </xsl:with-param>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title"><xsl:call-template name="list-title"/></xsl:template>
</xsl:stylesheet>
