<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of controllers, their batteries, connectors and NVMe adapters
     (a report includes report.xsl with this file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <xsl:template match="QXStorageObject[ObjType = 'controller']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="GlobalNo"/></xsl:call-template>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:if test="AutoConfigProgressState = 1">Operation                : Automatic Configuration&#10;</xsl:if>
    <xsl:apply-templates select="Progress[1]" mode="line"/>
    <xsl:apply-templates select="ControllerMode[1]" mode="line"/>
    <xsl:apply-templates select="FirmwareVer[1]" mode="line"/>
    <xsl:apply-templates select="DriverVersion[1]" mode="line"/>
    <xsl:apply-templates select="BusProtocol[1]" mode="line"/>
    <xsl:apply-templates select="CacheSize[1]" mode="line"/>
    <xsl:if test="ControllerMode = 1">
      <xsl:apply-templates select="MaxVDAllowed[1]" mode="line"/>
      <xsl:apply-templates select="RAIDLevelsMask[1]" mode="line"/>
      <xsl:apply-templates select="StripeSizesMask[1]" mode="line"/>
      <xsl:apply-templates select="ReadPolicyMask[1]" mode="line"/>
      <xsl:apply-templates select="WritePolicyMask[1]" mode="line"/>
      <xsl:apply-templates select="CachePolicyMask[1]" mode="line"/>
    </xsl:if>
    <xsl:apply-templates select="DiskCachePolicyMask[1]" mode="line"/>
    <xsl:if test="ControllerMode = 1">
      <xsl:apply-templates select="RebuildRate[1]" mode="line"/>
      <xsl:apply-templates select="BGIRate[1]" mode="line"/>
      <xsl:apply-templates select="CheckConsistencyRate[1]" mode="line"/>
      <xsl:apply-templates select="ReconstructRate[1]" mode="line"/>
      <xsl:apply-templates select="PatrolReadRate[1]" mode="line"/>
      <xsl:apply-templates select="PatrolReadMode[1]" mode="line"/>
      <xsl:apply-templates select="PatrolReadState[1]" mode="line"/>
    </xsl:if>
    <!-- Attribute bits 23: security capable, 30: cachecade. -->
    <xsl:variable name="attrs" select="string(AttributesMask)"/>
    <xsl:variable name="secure" select="substring($attrs, string-length($attrs) - 23, 1) = '1'"/>
    <xsl:choose>
      <xsl:when test="$secure">Encryption Capable       : Yes&#10;</xsl:when>
      <xsl:otherwise>Encryption Capable       : No&#10;</xsl:otherwise>
    </xsl:choose>
    <xsl:if test="$secure">
      <xsl:apply-templates select="SecurityMode[1]" mode="line"/>
    </xsl:if>
    <xsl:choose>
      <xsl:when test="substring($attrs, string-length($attrs) - 30, 1) = '1'">CacheCade Capable        : Yes&#10;</xsl:when>
      <xsl:otherwise>CacheCade Capable        : No&#10;</xsl:otherwise>
    </xsl:choose>
    <xsl:call-template name="alarm-line"/>
    <xsl:apply-templates select="PreservedCache[1]" mode="line"/>
    <xsl:apply-templates select="SupportPowerSavings[1]" mode="line"/>
    <xsl:if test="SupportPowerSavings = 1">
      <xsl:apply-templates select="SpinDownTime[1]" mode="line"/>
    </xsl:if>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'battery']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="BatteryID"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="Charge[1]" mode="line"/>
    <xsl:apply-templates select="LearnState[1]" mode="line"/>
    <xsl:apply-templates select="LearnMode[1]" mode="line"/>
    <xsl:apply-templates select="NextLearnTime[1]" mode="line"/>
    <xsl:apply-templates select="MaxLearnDelay[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'connector']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="Channel"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="BusProtocol[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'nvmeadapter']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="Channel"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="Length[1]" mode="line"/>
    <xsl:apply-templates select="BusProtocol[1]" mode="line"/>
    <xsl:apply-templates select="Vendor[1]" mode="line"/>
    <xsl:apply-templates select="ProductID[1]" mode="line"/>
    <xsl:apply-templates select="SerialNo[1]" mode="line"/>
    <xsl:apply-templates select="ISECapable[1]" mode="line"/>
  </xsl:template>
</xsl:stylesheet>
