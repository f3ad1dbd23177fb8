<?xml version="1.0" encoding="UTF-8"?>
<!-- Generic rendering of an answer: each storage object as a block of
     aligned "Label : value" lines, a blank line between blocks. Generated
     usage help shows one command line per action; any other document is
     printed one text line per leaf element. -->
<xsl:stylesheet version="1.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:str="http://exslt.org/strings"
    exclude-result-prefixes="str">
  <xsl:output method="text" encoding="UTF-8"/>

  <!-- The command that asked: vkreport or vkconfig (set by the host). -->
  <xsl:param name="program" select="'vkreport'"/>
  <!-- The command words the usage help is about ("vkconfig storage pdisk"). -->
  <xsl:param name="command" select="$program"/>

  <xsl:key name="object" match="QXStorageObject" use="'all'"/>
  <xsl:key name="status" match="SMStatus" use="'all'"/>
  <xsl:key name="message" match="SMMessage" use="'all'"/>
  <xsl:key name="leaf" match="*[not(*)][normalize-space(.) != '']" use="'all'"/>

  <xsl:template match="/">
    <xsl:choose>
      <xsl:when test="RESPONSE">
        <xsl:call-template name="response"/>
      </xsl:when>
      <xsl:when test="Usage">
        <xsl:apply-templates select="Usage"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:for-each select="key('leaf', 'all')">
          <xsl:value-of select="normalize-space(.)"/>
          <xsl:text>&#10;</xsl:text>
        </xsl:for-each>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="response">
    <xsl:variable name="objects" select="key('object', 'all')"/>
    <xsl:variable name="status" select="normalize-space(key('status', 'all')[1])"/>
    <xsl:variable name="failed" select="$status != '' and $status != '0'"/>
    <!-- A configuration command that was carried out says so in one line;
         the object it changed is in the XML and JSON forms. -->
    <xsl:variable name="configured" select="$program = 'vkconfig' and not($failed)"/>
    <xsl:if test="not($configured)">
      <xsl:apply-templates select="$objects"/>
    </xsl:if>
    <xsl:choose>
      <xsl:when test="$configured">
        <xsl:text>The command was carried out.&#10;</xsl:text>
      </xsl:when>
      <xsl:when test="$failed">
        <xsl:if test="$objects">
          <xsl:text>&#10;</xsl:text>
        </xsl:if>
        <xsl:variable name="message" select="normalize-space(key('message', 'all')[1])"/>
        <xsl:choose>
          <xsl:when test="$message != ''">
            <xsl:value-of select="$message"/>
          </xsl:when>
          <xsl:otherwise>
            <xsl:value-of select="concat('The command failed with status ', $status, '.')"/>
          </xsl:otherwise>
        </xsl:choose>
        <xsl:text>&#10;</xsl:text>
      </xsl:when>
      <xsl:when test="$objects"/>
      <xsl:otherwise>
        <xsl:text>No objects found.&#10;</xsl:text>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template match="QXStorageObject">
    <xsl:if test="position() != 1">
      <xsl:text>&#10;</xsl:text>
    </xsl:if>
    <!-- Labels are padded to the longest tag of this object. -->
    <xsl:variable name="width">
      <xsl:for-each select="*">
        <xsl:sort select="string-length(name())" data-type="number" order="descending"/>
        <xsl:if test="position() = 1">
          <xsl:value-of select="string-length(name())"/>
        </xsl:if>
      </xsl:for-each>
    </xsl:variable>
    <xsl:for-each select="*">
      <xsl:value-of select="name()"/>
      <xsl:value-of select="str:padding($width - string-length(name()), ' ')"/>
      <xsl:text> : </xsl:text>
      <xsl:value-of select="."/>
      <xsl:text>&#10;</xsl:text>
    </xsl:for-each>
  </xsl:template>

  <!-- One line per action, or one line for a report's parameters:
       required name=<type>, optional [name=<type>], keywords as k1|k2. -->
  <xsl:template match="Usage">
    <xsl:for-each select="Action">
      <xsl:value-of select="concat($command, ' action=', @name)"/>
      <xsl:apply-templates select="Param"/>
      <xsl:text>&#10;</xsl:text>
    </xsl:for-each>
    <xsl:if test="Param or not(Action)">
      <xsl:value-of select="$command"/>
      <xsl:apply-templates select="Param"/>
      <xsl:text>&#10;</xsl:text>
    </xsl:if>
  </xsl:template>

  <xsl:template match="Param">
    <xsl:variable name="optional" select="@required != 'yes'"/>
    <xsl:text> </xsl:text>
    <xsl:if test="$optional">[</xsl:if>
    <xsl:value-of select="concat(@name, '=')"/>
    <xsl:choose>
      <xsl:when test="Keyword">
        <xsl:for-each select="Keyword">
          <xsl:if test="position() != 1">|</xsl:if>
          <xsl:value-of select="."/>
        </xsl:for-each>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat('&lt;', @type, '&gt;')"/>
      </xsl:otherwise>
    </xsl:choose>
    <xsl:if test="$optional">]</xsl:if>
  </xsl:template>
</xsl:stylesheet>
