<?xml version="1.0" encoding="UTF-8"?>
<!-- System reports (alert log, summary, version): the same generic
     rendering of storage objects as the storage commands. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:import href="kvclp.xsl"/>
  <xsl:output method="text" encoding="UTF-8"/>
</xsl:stylesheet>
