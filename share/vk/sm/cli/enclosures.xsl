<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of enclosures and their fans, power supplies, management
     modules and temperature probes (a report includes report.xsl with this
     file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <xsl:template match="QXStorageObject[ObjType = 'enclosure']">
    <xsl:call-template name="id-line">
      <xsl:with-param name="value"><xsl:call-template name="enclosure-id"/></xsl:with-param>
    </xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="EnclosureType[1]" mode="line"/>
    <xsl:apply-templates select="ProductID[1]" mode="line"/>
    <xsl:apply-templates select="FirmwareVer[1]" mode="line"/>
    <xsl:apply-templates select="SlotCount[1]" mode="line"/>
    <xsl:apply-templates select="BusProtocol[1]" mode="line"/>
    <xsl:apply-templates select="ServiceTag[. != '']" mode="line"/>
    <xsl:apply-templates select="AssetTag[. != '']" mode="line"/>
    <xsl:apply-templates select="AssetName[. != '']" mode="line"/>
    <xsl:call-template name="alarm-line"/>
  </xsl:template>

  <!-- Components are numbered within their enclosure. -->
  <xsl:template name="component-head">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="Index"/></xsl:call-template>
    <xsl:value-of select="concat('Enclosure                : ', Channel, ':', EnclosureID, '&#10;')"/>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'fan']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="Speed[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'pwrsupply']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="Watts[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'emm']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="FirmwareVer[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'tempprobe']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="Reading[1]" mode="line"/>
    <xsl:value-of select="concat('Warning Thresholds       : ', MinWarning, ' C to ', MaxWarning, ' C&#10;')"/>
    <xsl:value-of select="concat('Failure Thresholds       : ', MinFailure, ' C to ', MaxFailure, ' C&#10;')"/>
  </xsl:template>
</xsl:stylesheet>
