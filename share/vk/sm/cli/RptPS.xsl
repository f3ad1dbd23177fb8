<?xml version="1.0" encoding="UTF-8"?>
<!-- Power supplies of an enclosure. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="objects.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="title">
        <xsl:variable name="first" select="key('object', 'all')[1]"/>
        <xsl:call-template name="kind-name">
          <xsl:with-param name="kind" select="string($first/ObjType)"/>
        </xsl:call-template>
        <xsl:value-of select="concat(' of Enclosure ', $first/Channel, ':', $first/EnclosureID, ' on Controller ', $first/GlobalNo)"/>
      </xsl:with-param>
      <xsl:with-param name="none" select="'No power supplies found.'"/>
    </xsl:call-template>
  </xsl:template>
</xsl:stylesheet>
