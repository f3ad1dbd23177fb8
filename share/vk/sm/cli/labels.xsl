<?xml version="1.0" encoding="UTF-8"?>
<!-- The words the reports show for an answer's codes, for the JSON form:
     one Object per storage object, in the answer's order, holding a Decoded
     element for every tag whose shown value differs from the raw one (a
     state, a layout, a policy, a mask's words, a size) and a Bytes element
     for every size. The decoding is the reports' own (decode.xsl), so text
     and JSON never disagree. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:import href="decode.xsl"/>
  <xsl:output method="xml" encoding="UTF-8"/>

  <xsl:template match="/">
    <Labels>
      <xsl:for-each select="//QXStorageObject">
        <Object>
          <xsl:for-each select="*">
            <xsl:variable name="shown"><xsl:apply-templates select="." mode="value"/></xsl:variable>
            <xsl:if test="string($shown) != string(.)">
              <Decoded tag="{name()}"><xsl:value-of select="$shown"/></Decoded>
            </xsl:if>
            <xsl:apply-templates select="." mode="bytes"/>
          </xsl:for-each>
        </Object>
      </xsl:for-each>
    </Labels>
  </xsl:template>

  <!-- Sizes: the tags the reports show through the size decoding. -->
  <xsl:template match="*" mode="bytes"/>
  <xsl:template match="Length" mode="bytes">
    <xsl:if test="string(number(.)) != 'NaN'">
      <Bytes tag="{name()}"><xsl:value-of select="normalize-space(.)"/></Bytes>
    </xsl:if>
  </xsl:template>
</xsl:stylesheet>
