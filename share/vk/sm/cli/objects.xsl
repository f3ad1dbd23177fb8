<?xml version="1.0" encoding="UTF-8"?>
<!-- The report frame with the blocks of every kind of object, for reports
     whose answers can hold any kind (controllers with everything attached,
     the dumps). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="controllers.xsl"/>
  <xsl:include href="disks.xsl"/>
  <xsl:include href="vdisks.xsl"/>
  <xsl:include href="enclosures.xsl"/>
  <xsl:include href="settings.xsl"/>
</xsl:stylesheet>
