<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of physical disks, tape drives and the spans of a virtual disk
     (a report includes report.xsl with this file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <!-- Disks are by far the most numerous objects: their block is tried
       first. -->
  <xsl:template match="QXStorageObject[ObjType = 'pdisk']" priority="1">
    <xsl:choose>
      <xsl:when test="EnclosureID">
        <xsl:value-of select="concat('ID                       : ', Channel, ':', EnclosureID, ':', TargetID, '&#10;')"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat('ID                       : ', Channel, ':', TargetID, '&#10;')"/>
      </xsl:otherwise>
    </xsl:choose>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:choose>
      <xsl:when test="ObjState = 32">Operation                : Rebuild&#10;</xsl:when>
      <xsl:when test="Clearing = 1">Operation                : Clear&#10;</xsl:when>
      <xsl:when test="ReplacingMember = 1">Operation                : Replace Member&#10;</xsl:when>
    </xsl:choose>
    <xsl:apply-templates select="Progress[1]" mode="line"/>
    <xsl:variable name="attrs" select="string(AttributesMask)"/>
    <xsl:choose>
      <xsl:when test="substring($attrs, string-length($attrs), 1) = '1'">Hot Spare                : Global&#10;</xsl:when>
      <xsl:when test="substring($attrs, string-length($attrs) - 8, 1) = '1'">Hot Spare                : Dedicated&#10;</xsl:when>
      <xsl:otherwise>Hot Spare                : No&#10;</xsl:otherwise>
    </xsl:choose>
    <xsl:apply-templates select="Length[1]" mode="line"/>
    <xsl:apply-templates select="BusProtocol[1]" mode="line"/>
    <xsl:apply-templates select="MediaType[1]" mode="line"/>
    <xsl:apply-templates select="Vendor[1]" mode="line"/>
    <xsl:apply-templates select="ProductID[1]" mode="line"/>
    <xsl:apply-templates select="SerialNo[1]" mode="line"/>
    <xsl:apply-templates select="FirmwareVer[1]" mode="line"/>
    <xsl:apply-templates select="WriteCache[1]" mode="line"/>
    <xsl:apply-templates select="diskwritecachepolicy[1]" mode="line"/>
    <xsl:apply-templates select="ISECapable[1]" mode="line"/>
    <xsl:if test="BusProtocol = 9">
      <xsl:apply-templates select="InCachePool[1]" mode="line"/>
    </xsl:if>
    <xsl:apply-templates select="Locked[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'tape']">
    <xsl:call-template name="id-line">
      <xsl:with-param name="value" select="concat(Channel, ':', TargetID)"/>
    </xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="Vendor[1]" mode="line"/>
    <xsl:apply-templates select="ProductID[1]" mode="line"/>
    <xsl:apply-templates select="BusProtocol[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'span']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="SpanID"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="LogicalDriveNum[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="Layout[1]" mode="line"/>
    <xsl:apply-templates select="Length[1]" mode="size-line"/>
  </xsl:template>
</xsl:stylesheet>
